// The orders in which files list the twenty terms of a polynomial.
//
// RPC00B: NIMA STDI-0002, "The Compendium of Controlled Extensions for NITF", appendix E. RPC00A: as GDAL brings it
// into the order of RPC00B (frmts/nitf/nitfimage.c, ticket 2040), so that one file gives one model in both programs.
// Height first: RADARSAT-2 product.xml; the tie points of such a product are met to 0.003 pixels in this order, and
// missed by thousands in that of RPC00B.

#include <algorithm>
#include <iterator>

#include "frame/zxstd/quoted.h"
#include "frame/zxstd/text.h"
#include "rpc/forms/forms.h"
#include "rpc/rpc_fields.h"

namespace SatCommonUtils {

namespace {

constexpr int kRpc00a[20] = {0, 1, 2, 3, 4, 5, 6, 10, 7, 8, 9, 11, 14, 17, 12, 15, 18, 13, 16, 19};
constexpr int kHeightFirst[20] = {0, 4, 10, 1, 13, 5, 11, 7, 16, 2, 14, 9, 18, 6, 15, 19, 12, 8, 17, 3};

}  // namespace

const char* RPCTermOrderName(TRPCTermOrder order) noexcept {
  if (order == TRPCTermOrder::RPC00A) return "RPC00A";
  return order == TRPCTermOrder::HeightFirst ? "height first" : "RPC00B";
}

int RPCTermPosition(TRPCTermOrder order, int k) noexcept {
  if (order == TRPCTermOrder::RPC00A) return kRpc00a[k];
  return order == TRPCTermOrder::HeightFirst ? kHeightFirst[k] : k;
}

namespace RPCForms {

TRPCTermOrder TakeTermOrder(std::string_view word, TRPCFileOrigin* origin) {
  const std::string name = toupper(std::string(Trimmed(word.substr(0, 64))));
  if (name == "RPC00A" || name == "A") {
    origin->termOrder = TRPCTermOrder::RPC00A;
    origin->notes.push_back(
        "the terms stand in the order of RPC00A in the file; they were brought into that of RPC00B");
  } else if (!name.empty() && name != "RPC00B" && name != "B") {
    origin->notes.push_back("the file calls its order of terms " + Quoted(name) +
                            ", which is not known; it was taken for RPC00B");
  }
  return origin->termOrder;
}

void SortTerms(TRPCTermOrder order, TRPCData* record) {
  if (order == TRPCTermOrder::RPC00B) return;
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    double listed[20];
    double* const values = record->*field.values;
    std::copy(values, values + 20, listed);
    for (int k = 0; k < 20; ++k) values[k] = listed[RPCTermPosition(order, k)];
  }
}

}  // namespace RPCForms

}  // namespace SatCommonUtils
