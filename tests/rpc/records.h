#pragma once
// Records that the tests of the file forms share.

#include <gtest/gtest.h>

#include <string>

#include "frame/zxstd/stream.h"
#include "rpc/rpc_data.h"
#include "rpc/rpc_fields.h"
#include "support/bits.h"

namespace orbmath_test {

/// A complete record in which every number differs from the others.
inline SatCommonUtils::TRPCData CountingRecord() {
  SatCommonUtils::TRPCData record;
  double next = 1.0;
  SatCommonUtils::VisitRPCNumbers(record, [&next](double& number) {
    number = next;
    next += 0.5;
    return true;
  });
  return record;
}

/// Ninety numbers of the same bits; the message names the first that differs.
inline ::testing::AssertionResult SameRecord(const SatCommonUtils::TRPCData& a, const SatCommonUtils::TRPCData& b) {
  for (const auto& field : SatCommonUtils::RPCScalarFields()) {
    const auto same = SameBits(a.*field.value, b.*field.value);
    if (!same) return ::testing::AssertionFailure() << field.xmlKey << ": " << same.message();
  }
  for (const auto& field : SatCommonUtils::RPCCoefficientFields()) {
    const auto same = SameBits(a.*field.values, b.*field.values, 20);
    if (!same) return ::testing::AssertionFailure() << field.xmlKey << " " << same.message();
  }
  return ::testing::AssertionSuccess();
}

/// A stream that takes only so many bytes, as a full disk does.
class ShortStream : public SatCommonUtils::TZxStringStream {
 public:
  explicit ShortStream(std::size_t room) : room_(room) {}
  std::size_t Write(const void* buffer, std::size_t count) override {
    ++writes;
    const std::size_t taken = count < room_ ? count : room_;
    room_ -= taken;
    return TZxStringStream::Write(buffer, taken);
  }
  int writes = 0;

 private:
  std::size_t room_;
};

/// The text that `save(stream)` makes.
template <class Save>
std::string Saved(const Save& save) {
  SatCommonUtils::TZxStringStream stream;
  EXPECT_TRUE(save(&stream));
  return stream.GetString();
}

}  // namespace orbmath_test
