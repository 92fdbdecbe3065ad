#pragma once
// A model as Python holds it: never changed once made, so that any number of threads may use one.

#include <nanobind/nanobind.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "refine/adjusted_rpc.h"
#include "rpc/rpc_data.h"
#include "rpc/rpc_file.h"
#include "rpc/rpc_model.h"

namespace orbmath_python {

namespace nb = nanobind;

/// A plain or adjusted model with what its file says beside it.
class TModel {
 public:
  /// Reads a file of any form that the core knows. \throws std::runtime_error with the library's sentence.
  /// \param form receives the form of the file.
  static TModel Open(const std::string& path, const SatCommonUtils::TRPCFileOptions& options,
                     SatCommonUtils::TRPCFileForm* form);
  /// \param raster width and height in pixels. \throws std::runtime_error for an incomplete record.
  static TModel OfRecord(const SatCommonUtils::TRPCData& record, SatCommonUtils::TRPCFileExtras extras,
                         std::optional<std::pair<int, int>> raster);
  /// The model of `raw` with a refinement on top of it. \throws std::runtime_error when it has no inverse.
  static TModel Adjusted(const TModel& raw, const SatCommonUtils::TRPCRefinementDataBase& refinement,
                         const SatCommonUtils::TRefinementCovariance& covariance = {});
  /// The whole model, bit for bit, and back. \throws std::runtime_error
  std::string ToXml() const;
  static TModel OfXml(const std::string& xml);

  const SatCommonUtils::TRPC& rpc() const { return *rpc_; }
  const SatCommonUtils::TRPCFileExtras& extras() const { return extras_; }
  /// What the file says beside the record; null for a model that was not read from one, or that has been pickled.
  const SatCommonUtils::TRPCFileOrigin* origin() const { return origin_.get(); }
  SatCommonUtils::TRPCData record() const;
  /// Null for a plain model.
  const SatCommonUtils::TAdjustedRPC* adjusted() const;
  /// A plain model that carries the refinement. \throws std::runtime_error when none comes within 0.01 pixels.
  TModel Plain() const;

 private:
  TModel(SatCommonUtils::var_a<SatCommonUtils::TRPC*> rpc, SatCommonUtils::TRPCFileExtras extras);

  SatCommonUtils::var_a<SatCommonUtils::TRPC*> rpc_;
  SatCommonUtils::TRPCFileExtras extras_;
  std::shared_ptr<const SatCommonUtils::TRPCFileOrigin> origin_;
};

void DefineModel(nb::module_& module);
void DefineSolving(nb::module_& module);
void DefineFitting(nb::module_& module);
void DefineRefining(nb::module_& module);
void DefineAdjusting(nb::module_& module);
void DefineTerrain(nb::module_& module);
void DefineUncertainty(nb::module_& module);
void DefineChecking(nb::module_& module);

}  // namespace orbmath_python
