#pragma once
/// \file
/// The RPC sensor model: ground to image, image to ground at a height, its first-order approximation and its XML.

#include <atomic>
#include <cstddef>
#include <memory>

#include "../frame/api.h"
#include "../frame/zxstd/var_a.h"
#include "../frame/zxstd/xini_reader.h"
#include "../frame/zxstd/xini_writer.h"
#include "../geometry/polygon.h"
#include "../poly/linear_normalization.h"
#include "ground_state.h"
#include "rpc_data.h"
#include "rpc_prepared.h"

namespace SatCommonUtils {

/// Gauss-Newton steps of an inversion at a known height, at most.
constexpr int kRPCLargestSteps = 10;
/// A step of that inversion whose length is at most this, in normalised coordinates, ends it.
constexpr double kRPCSmallestStep = 1e-10;
/// Nodes along each axis of the grid from which an approximation is built when it is needed.
constexpr int kRPCApproximationGrid = 5;
/// An approximation that misses a node by this many pixels or more gives way to an affine one.
constexpr double kRPCLargestApproximationMiss = 1000.0;

/// A rational polynomial camera model (RPC00B): ground (latitude, longitude in degrees, height in metres above the
/// ellipsoid) to image (line, sample in pixels) as ratios of cubic polynomials in normalised coordinates.
///
/// Whole numbers of line and sample are pixel centres when the record comes from an RPB or text file. The term order
/// stands with `TRPCData`. The model owns copies of everything it is built from.
///
/// Errors: projection never fails; a zero denominator or scale gives infinities or NaN. Inversion reports by its
/// result; see each function.
///
/// Thread safety: const operations may run on one model from several threads. The first-order approximation is built by
/// the first call that needs it, once, under a lock that later calls do not take.
///
/// Laws, which the tests quote by their numbers:
///  1. Whole turns of longitude change a projection by no more than the rounding of the longitude.
///  2. Ground to image and back is the identity to within `kRPCSmallestStep` in normalised coordinates, wherever the
///     iteration converges.
///  3. Derivatives are those of the projection, in its units.
///  4. Many points at once are single points, bit for bit, whatever the threads, the instruction set and the addresses.
///  5. The record comes back bit for bit: from the model, from its copies, and from what was saved and loaded.
///  6. An approximation is built once, and from then on stays what it is until the record changes.
///
/// What a derived class overrides it overrides in both forms, single point and arrays: the array forms of this class
/// know nothing of an overridden single-point form.
///
/// Source of the model: STDI-0002, "The Compendium of Controlled Extensions for NITF", RPC00B; of the inversion:
/// Grodecki and Dial, "Block adjustment of high-resolution satellite images described by rational polynomials" (2003),
/// doi:10.14358/PERS.69.1.59.
class ORBMATH_API TRPC {
 public:
  /// Builds the model of `data`, without a margin; the record's own validity is not tested. Raster dimensions start
  /// unknown.
  explicit TRPC(const TRPCData& data);
  /// The same with a margin. \param margin validity polygon, copied when it is not null and valid.
  TRPC(const TRPCData& data, const TPolygon* margin);
  /// The same of a record that is pointed to. \param data must not be null.
  TRPC(const TRPCData* data, const TPolygon* margin);
  /// Reads the model XML. \throws TZxMessage "TRPC::TRPC(TZxXIniReader *src)" when it cannot be read.
  explicit TRPC(TZxXIniReader* src);
  /// Independent copies: record, margin, raster dimensions and approximation; not the inverted model.
  TRPC(const TRPC& other);
  TRPC& operator=(const TRPC& other);

  virtual ~TRPC();

  /// A new model with the same record, margin and raster dimensions. It builds its own approximation when needed.
  virtual var_a<TRPC*> CreateVCopy() const;

  /// Ground to image.
  ///
  /// The longitude is first brought to within 180 degrees of the model's longitude offset by whole turns. The margin
  /// plays no part. Allocates nothing.
  /// \param lat latitude, degrees. \param lon longitude, degrees, in any turn. \param h height, metres.
  /// \param line receives the line, pixels. \param sample receives the sample, pixels.
  /// \param dLine null, or 3 values: derivatives of the line by latitude, longitude (pixels per degree) and height
  ///   (pixels per metre). \param dSample null, or the same 3 of the sample.
  virtual void CalculateLineSample(const double& lat, const double& lon, const double& h, double* line, double* sample,
                                   double* dLine, double* dSample) const;

  /// Image to ground at a known height: Gauss-Newton in normalised coordinates, see `CalculateLatLonNormalized`.
  /// \param line, sample image point, pixels. \param h height, metres.
  /// \param lat, lon receive the ground point, degrees, the longitude in the turn of the model; without an
  ///   approximation the model's latitude and longitude offsets.
  /// \return false when there is no approximation or a normal matrix was singular (the outputs then hold the last
  ///   estimate). True does not mean converged; `SolveLatLon` tells.
  virtual bool CalculateLatLon(const double& line, const double& sample, const double& h, double* lat,
                               double* lon) const;

  /// Reads record, margin, raster dimensions and approximation from the current section. A missing or malformed
  /// record fails the read and leaves the model untouched; margin or approximation that are there but malformed fail it
  /// too, the model then holds the record without them. Memory that runs out leaves the model untouched. The reader
  /// stays in its section; a null one fails. \return success.
  virtual bool InitializeFromXML(TZxXIniReader* src);

  /// Writes what `InitializeFromXML` reads; margin, raster dimensions and approximation only when they are there.
  /// \return false when something could not be written, or `dst` is null.
  virtual bool SaveToXML(TZxXIniWriter* dst) const;

  /// `CalculateLineSample` of `count` points, bit for bit, on up to `ZxGetThreadsCount()` threads. Allocates nothing.
  /// \param lat, lon, h `count` values each, degrees and metres. \param line, sample room for `count` values each; an
  ///   output may be the same buffer as an input, but must not overlap one in part.
  /// \param dLine null, or three arrays of `count`: derivatives by latitude, longitude, height.
  /// \param dSample null, or the same three of the sample.
  virtual void CalculateLineSampleArray(std::size_t count, const double* lat, const double* lon, const double* h,
                                        double* line, double* sample, double* const* dLine,
                                        double* const* dSample) const;

  /// `CalculateLatLon` of `count` points, bit for bit, on up to `ZxGetThreadsCount()` threads. Allocates nothing once
  /// the approximation is built.
  /// \param line, sample, h `count` values each. \param lat, lon room for `count` values each; an output may be
  /// the same buffer as an input, but must not overlap one in part.
  /// \param status null, or room for `count`: how each point ended.
  /// \return the number of points that converged.
  virtual std::size_t CalculateLatLonArray(std::size_t count, const double* line, const double* sample, const double* h,
                                           double* lat, double* lon, TGroundStatus* status) const;

  /// Ground to image in normalised coordinates, without longitude turns.
  /// \param P, L, H normalised latitude, longitude, height. \param lineN, sampleN receive normalised line and sample.
  /// \param dLineN null, or 3 values: derivatives by P, L, H. \param dSampleN null, or the same of the sample.
  void CalculateLineSampleNormalized(const double& P, const double& L, const double& H, double* lineN, double* sampleN,
                                     double* dLineN, double* dSampleN) const;

  /// The first-order approximation of `CalculateLineSample`: same units, no longitude turns, no derivatives.
  void CalculateLineSampleApproximately(const double& lat, const double& lon, const double& h, double* line,
                                        double* sample) const;

  /// Image to ground at a known normalised height: from `CalculateLatLonApproximately`, at most `kRPCLargestSteps`
  /// Gauss-Newton steps; stops without applying a step whose norm is at most `kRPCSmallestStep`.
  /// \return false without an approximation (outputs untouched) or when a normal matrix was singular (outputs hold the
  ///   last estimate); true also after 10 steps that did not converge.
  bool CalculateLatLonNormalized(const double& lineN, const double& sampleN, const double& hN, double* latN,
                                 double* lonN) const;

  /// Closed-form inverse of the first-order approximation at height `h`, metres. Pixels in, degrees out. (0, 0) when
  /// its two equations are singular.
  void CalculateLatLonApproximately(const double& line, const double& sample, const double& h, double* lat,
                                    double* lon) const;

  /// Intersection of one point seen by two images: the free-height `CalculateLatLonH` of `image_to_ground.h`.
  /// \throws TZxMessage "TRPC::CalculateLatLonH" where that returns false.
  static void CalculateLatLonH(const TRPC& a, const double& lineA, const double& sampleA, const TRPC& b,
                               const double& lineB, const double& sampleB, double* lat, double* lon, double* h);

  /// A rough intersection from the constant and first-order terms of both models alone, in the turn of `a`.
  static void CalculateLatLonHApproximately(const TRPC& a, const double& lineA, const double& sampleA, const TRPC& b,
                                            const double& lineB, const double& sampleB, double* lat, double* lon,
                                            double* h);

  /// Builds the approximation if there is none. \return whether there is one. Call it before sharing a model between
  /// threads when no thread shall wait for another's build.
  bool EnsureApproximation() const;

  /// The approximation: line = A.g / B.g, sample = C.g / D.g with g = (latitude, longitude, height, 1) in degrees and
  /// metres. \param A, B, C, D 4 values each. \return false, outputs untouched, when it cannot be built.
  bool GetApproximation(double* A, double* B, double* C, double* D) const;

  /// The record that the model holds; all unset when the model is empty.
  void GetRPCData(TRPCData* out) const;

  /// \param margin polygon that is copied as validity region.
  void SetMargin(const TPolygon& margin);
  /// \return false, `*out` untouched, when the model has no valid margin.
  bool GetMargin(TPolygon* out) const;
  /// The margin without a copy: null when the model has no valid one; belongs to the model, until it changes.
  const TPolygon* FindMargin() const;

  /// Size of the image in pixels. \return false, nothing changed, unless both are at least 1.
  bool SetRasterDims(int width, int height);
  /// \return false, outputs untouched, unless both are known. The outputs are written only when neither is null.
  bool GetRasterDims(int* width, int* height) const;

  /// \name Extents
  /// Values at normalised 0 (centre), +1 (max) and -1 (min): offset, offset + scale, offset - scale. With a negative
  /// scale the max is below the min. Pixels, degrees, metres; NaN for an empty model.
  /// \{
  double GetCenterLine() const;       ///< pixels
  double GetCenterSample() const;     ///< pixels
  double GetCenterLatitude() const;   ///< degrees
  double GetCenterLongitude() const;  ///< degrees
  double GetAverageHeight() const;    ///< metres
  double GetMaxLine() const;          ///< pixels
  double GetMaxSample() const;        ///< pixels
  double GetMaxLatitude() const;      ///< degrees
  double GetMaxLongitude() const;     ///< degrees
  double GetMaxHeight() const;        ///< metres
  double GetMinLine() const;          ///< pixels
  double GetMinSample() const;        ///< pixels
  double GetMinLatitude() const;      ///< degrees
  double GetMinLongitude() const;     ///< degrees
  double GetMinHeight() const;        ///< metres
  /// \}

  /// The normalisations of the five axes; NaN in an empty model. Valid until the model's record changes.
  const TRPCNormalization& GetNormalization() const noexcept { return prepared_.normalization; }

  /// The record as evaluations read it; NaN in an empty model. Valid until the model's record changes.
  const TRPCPrepared& GetPrepared() const noexcept { return prepared_; }

  /// \name Normalisations one by one
  /// Owned by the model, valid until its record changes; null in an empty model.
  /// \{

  /// Of lines, pixels.
  const TLinearNormalization* GetLineNormalization() const noexcept { return line_.get(); }
  /// Of samples, pixels.
  const TLinearNormalization* GetSampleNormalization() const noexcept { return sample_.get(); }
  /// Of latitudes, degrees.
  const TLinearNormalization* GetLatitudeNormalization() const noexcept { return latitude_.get(); }
  /// Of longitudes, degrees.
  const TLinearNormalization* GetLongitudeNormalization() const noexcept { return longitude_.get(); }
  /// Of heights, metres.
  const TLinearNormalization* GetHeightNormalization() const noexcept { return height_.get(); }
  /// \}

 protected:
  /// An empty model: projecting with it gives NaN until a record is set.
  TRPC();

  /// Replaces the record; margin, raster dimensions and approximation go. The record's validity is not tested.
  void SetRPCData(const TRPCData& data);
  /// Makes the model empty.
  void Reset();

  /// Builds the approximation from an n x n x n grid of the normalised box, through the virtual `CalculateLineSample`.
  /// The grid starts at -1 and stops one step short of +1. Not to be called while other threads use the model.
  /// \return whether the model has one now.
  bool CreateApproximation(int n) const;

  /// Fits the inverse model with parameter `n` and keeps it. \return whether there is one now.
  bool CreateInvertedRPC(int n) const;

  /// Image to ground by a search over samples instead of derivatives; arguments as `CalculateLatLon`. Accepts a
  /// point that reprojects within 1e-5 pixels. \return false after 20 steps, or when a fit fails; outputs then
  /// untouched.
  bool CalculateLatLonAlt(const double& line, const double& sample, const double& h, double* lat, double* lon) const;
  /// The same search in normalised coordinates, arguments as `CalculateLatLonNormalized`, with a check of the result.
  /// \throws TZxMessage "TRPC::CalculateLatLonNormalizedAlt debug check failure" when that fails.
  bool CalculateLatLonNormalizedAlt(const double& lineN, const double& sampleN, const double& hN, double* latN,
                                    double* lonN) const;

 private:
  static constexpr std::size_t kTerms = kRPCTermCount;

  /// Groups of four: coefficient of latitude, of longitude, of height, constant term.
  struct TApproximation {
    double lineNum[4];
    double lineDenom[4];
    double sampleNum[4];
    double sampleDenom[4];
  };

  /// The five owned normalisations.
  struct TOwnedAxes {
    std::unique_ptr<TLinearNormalization> line, sample, latitude, longitude, height;
  };
  /// Makes all of them, or throws.
  static TOwnedAxes MakeAxes(const TRPCNormalization& normalization);
  void Install(const TRPCData& data, TOwnedAxes axes) noexcept;
  void Clear() noexcept;

  static bool ReadApproximation(TZxXIniReader* src, TApproximation* read);
  bool WriteApproximation(TZxXIniWriter* dst) const;

  double lineNumCoef_[kTerms];
  double lineDenCoef_[kTerms];
  double sampNumCoef_[kTerms];
  double sampDenCoef_[kTerms];
  const double* coefficients_[4];  ///< the four arrays above, in their order
  std::unique_ptr<TLinearNormalization> line_;
  std::unique_ptr<TLinearNormalization> sample_;
  std::unique_ptr<TLinearNormalization> latitude_;
  std::unique_ptr<TLinearNormalization> longitude_;
  std::unique_ptr<TLinearNormalization> height_;
  TPolygon margin_;
  int rasterWidth_ = 0;
  int rasterHeight_ = 0;
  mutable TApproximation approximation_;
  mutable std::atomic<bool> hasApproximation_{false};
  mutable var_a<TRPC*> inverted_;
  TRPCPrepared prepared_;  ///< the record as evaluations read it; changes with the members above
};

}  // namespace SatCommonUtils
