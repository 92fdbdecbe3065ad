#pragma once
/// \file
/// The adjusted model: an RPC model whose image coordinates are corrected by a refinement.

#include <cstddef>
#include <limits>
#include <memory>
#include <string>

#include "../frame/api.h"
#include "../frame/zxstd/var_a.h"
#include "../frame/zxstd/xini_reader.h"
#include "../frame/zxstd/xini_writer.h"
#include "../rpc/rpc_data.h"
#include "../rpc/rpc_model.h"
#include "refinement.h"
#include "refinement_covariance.h"
#include "refinement_data.h"

namespace SatCommonUtils {

struct TRPCEstimationDataSet;

/// What a record made by `TAdjustedRPC::ExportRefined` may miss the model by, pixels; the worst that was seen on real
/// models and corrections of a few pixels is below a tenth of it.
constexpr double kRefinedExportError = 0.01;

/// A plain record of an adjusted model, or why there is none.
struct ORBMATH_API TRefinedExport {
  bool success = false;  ///< Whether there is a model.
  TRPCData record;       ///< unset without success
  /// Largest distance in pixels from the model over the image, between the nodes that the record was made from; without
  /// success that of the closest record that was found, if any; NaN when nothing was compared.
  double worst = std::numeric_limits<double>::quiet_NaN();
  std::string message = "not run";  ///< one sentence: how the record was made, or why there is none
};

/// An RPC model and, optionally, a refinement of its image coordinates.
///
/// It answers as `TRPC` does, with the refinement applied on the image side: "raw" is what the RPC part computes,
/// "refined" what this model does. Without a refinement it is its RPC part, bit for bit. Copies share the refinement,
/// which never changes once the model has it. Thread safety is that of `TRPC`.
///
/// The operations of `TRPC` that are not overridden (normalised evaluation, extents, the record) are those of the raw
/// model; the first-order approximation is that of the refined one.
class ORBMATH_API TAdjustedRPC : public TRPC {
 public:
  /// \param rpc the record of the RPC part; must not be null. \param refinement null for none.
  /// \throws TZxMessage as `CreateRefinementE` when the refinement has no inverse.
  TAdjustedRPC(const TRPCData* rpc, const TRPCRefinementDataBase* refinement);
  /// \throws TZxMessage "TAdjustedRPC::TAdjustedRPC(TZxXIniReader *src)" when the model cannot be read.
  explicit TAdjustedRPC(TZxXIniReader* src);
  TAdjustedRPC(const TAdjustedRPC&) = default;
  TAdjustedRPC& operator=(const TAdjustedRPC&) = default;
  ~TAdjustedRPC() override;

  /// A new adjusted model equal to this one; it shares the refinement.
  var_a<TRPC*> CreateVCopy() const override;
  /// Ground to refined image coordinates; arguments and derivatives as with `TRPC`.
  void CalculateLineSample(const double& lat, const double& lon, const double& h, double* line, double* sample,
                           double* dLine, double* dSample) const override;
  /// Refined image coordinates to ground at a known height; arguments and result as with `TRPC`.
  bool CalculateLatLon(const double& line, const double& sample, const double& h, double* lat,
                       double* lon) const override;
  /// Reads the RPC part and, when they are there, the sections "Refinement" and "RefinementCovariance".
  /// \return false when one of them is malformed: without its RPC part or its refinement the model then has no
  /// refinement, without the covariance it has all but that.
  bool InitializeFromXML(TZxXIniReader* src) override;
  /// Writes the RPC part and, when there is a refinement, the section "Refinement"; when its covariance is known,
  /// that too, in a section of its own that readers of the others pass over.
  /// \return false when something could not be written.
  bool SaveToXML(TZxXIniWriter* dst) const override;
  void CalculateLineSampleArray(std::size_t count, const double* lat, const double* lon, const double* h, double* line,
                                double* sample, double* const* dLine, double* const* dSample) const override;
  std::size_t CalculateLatLonArray(std::size_t count, const double* line, const double* sample, const double* h,
                                   double* lat, double* lon, TGroundStatus* status) const override;

  /// True when there is a refinement.
  bool IsAdjusted() const noexcept;
  /// A copy of the refinement's record; empty when there is none.
  var_a<TRPCRefinementDataBase*> GetRPCRefinementData() const;
  /// The refinement itself, shared; empty when there is none. It must not be changed.
  var_a<TRPCRefinementBase*> GetRefinement() const;

  /// How uncertain the refinement is; null when nothing is known. Belongs to the model, until it changes.
  const TRefinementCovariance* FindRefinementCovariance() const noexcept;
  /// Says how uncertain the refinement is. Copies share it from then on.
  /// \return false, nothing changed, unless it is valid and of the refinement's kind.
  bool SetRefinementCovariance(TRefinementCovariance covariance);

  /// The plain record of a model whose refinement is the identity.
  ///
  /// Without a refinement, **and with one that is not the identity**, the record of the RPC part as it is: a correction
  /// is not exported by this function. Use `ExportRefined` for a record that carries it. With an identity: a shift is
  /// added to the offsets; the other kinds are fitted anew by `EstimateRPC` onto the same offsets and scales.
  /// \param out untouched when false, except that a failed fit leaves it with the RPC part's record.
  /// \return false when too few points can be sampled or the fit fails.
  bool Export(TRPCData* out) const;

  /// A plain record that carries the refinement: what other programs need who know nothing of refinements.
  ///
  /// Offsets and scales stay. Shifts and scales of each axis fold into the numerators without loss, and so does any
  /// refinement when line and sample have the same denominator. Otherwise one of the polynomials that bringing line and
  /// sample together needs is not cubic, and its closest cubic over the ground that the image shows (the raster, when
  /// its size is known) takes its place; docs/refinement.md says what that costs, far below a hundredth of a pixel for
  /// corrections of a few pixels. Where it costs more, all coefficients are fitted anew by `FitRPC`. The result is
  /// compared with the model between the nodes that it was made from, on the branch of the model's centre.
  /// \return the record, how far it misses the model, and how it was made; or why there is none within
  /// `kRefinedExportError`.
  TRefinedExport ExportRefined() const;
  /// The record of that. \param out untouched when false.
  bool ExportRefined(TRPCData* out) const;

 private:
  /// What the estimation set of `Export` is sampled from: ranges of normalised coordinates and the grid's density.
  struct TRPCEstimationDataSetParams {
    double latMin, latMax;
    double lonMin, lonMax;
    double heightMin, heightMax;
    int count;
  };

  bool CreateReApproximationDataset(TRPCEstimationDataSetParams* params, TRPCEstimationDataSet* set) const;

  var_a<TRPCRefinementBase*> refinement_;
  std::shared_ptr<const TRefinementCovariance> covariance_;
};

}  // namespace SatCommonUtils
