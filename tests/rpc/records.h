#pragma once
// Records and texts that the tests of the file forms share.

#include <gtest/gtest.h>

#include <string>

#include "rpc/rpc_data.h"
#include "rpc/rpc_fields.h"
#include "support/bits.h"

namespace orbmath_test {

/// A complete record in which every number differs from the others.
inline SatCommonUtils::TRPCData CountingRecord() {
  SatCommonUtils::TRPCData record;
  double next = 0.5;
  SatCommonUtils::VisitRPCNumbers(record, [&next](double& number) {
    number = next += 0.5;
    return true;
  });
  return record;
}

/// Ninety numbers of the same bits.
inline ::testing::AssertionResult SameRecord(const SatCommonUtils::TRPCData& a, const SatCommonUtils::TRPCData& b) {
  return SameBits(reinterpret_cast<const double*>(&a), reinterpret_cast<const double*>(&b), 90);
}

/// The text that `save(stream)` makes.
template <class Save>
std::string Saved(const Save& save) {
  SatCommonUtils::TZxStringStream stream;
  EXPECT_TRUE(save(&stream));
  return stream.GetString();
}

/// `text` with every `from`, of which there is one at least, replaced.
inline std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  EXPECT_NE(text.find(from), std::string::npos) << from;
  for (std::size_t place = 0; (place = text.find(from, place)) != std::string::npos; place += to.size()) {
    text.replace(place, from.size(), to);
  }
  return text;
}

}  // namespace orbmath_test
