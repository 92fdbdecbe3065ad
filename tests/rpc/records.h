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

/// A record whose numbers show sign, padding and overflow of every field width.
inline SatCommonUtils::TRPCData FormatRecord() {
  SatCommonUtils::TRPCData record = CountingRecord();
  record.lineOffset = 3754;
  record.sampOffset = -2322.5;
  record.latOffset = -8.5;
  record.longOffset = 2.2945;
  record.heightOffset = 86;
  record.lineScale = 3754;
  record.sampScale = 12345678.129;
  record.latScale = 0.0341;
  record.longScale = 0.0322;
  record.heightScale = -194;
  record.lineNumCoef[0] = 1.332808717180063e-3;
  record.sampDenCoef[19] = -7.216457909015041e-10;
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

/// `text` with the first `from` replaced.
inline std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t place = text.find(from);
  EXPECT_NE(place, std::string::npos) << from;
  return text.replace(place, from.size(), to);
}

/// `text` with every `from` replaced.
inline std::string ReplacedAll(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t place = 0; (place = text.find(from, place)) != std::string::npos; place += to.size()) {
    text.replace(place, from.size(), to);
  }
  return text;
}

}  // namespace orbmath_test
