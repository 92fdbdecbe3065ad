#pragma once
/// \file
/// The refinement transforms: they apply a refinement record to image coordinates, both ways.

#include <cstddef>
#include <cstdint>

#include "../frame/api.h"
#include "../frame/zxstd/projective_transform.h"
#include "../frame/zxstd/var_a.h"
#include "../frame/zxstd/xini_reader.h"
#include "../frame/zxstd/xini_writer.h"
#include "refinement_data.h"

namespace SatCommonUtils {

/// What there and back leaves of corrections of a few pixels in images of 10,000 pixels; the worst seen is a tenth of
/// it.
constexpr double kRefinementRoundTrip = 1e-10;

/// A map of raw image coordinates, as a model computes them, to refined ones, as they are measured, and back.
///
/// Lines and samples are pixels. The maps never fail: an invalid transform computes with what it holds, so test
/// `operator bool` first. Const operations may run on several threads at once.
///
/// Laws of every valid transform, whose numbers the tests quote:
///   1. `RefinedToRaw` of `RawToRefined` is the point itself within `kRefinementRoundTrip` pixels.
///   2. The derivatives are those of the map, in both directions.
///   3. Outputs may be the inputs: in place the result has the same bits.
///   4. A single derivative pointer is ignored.
///   5. A copy, the transform of its record, and what it saved read again, save the same bytes.
///   6. Records load what transforms save, and transforms what records save.
///   7. The array operations give the bits of the single ones.
///   8. Reset, it is no longer valid, except that of the kind None.
class ORBMATH_API TRPCRefinementBase {
 public:
  /// A refinement of this kind.
  explicit TRPCRefinementBase(TRPCRefinementTransformType type) noexcept : type_(type) {}
  virtual ~TRPCRefinementBase();

  /// Makes the transform invalid; the kind None has nothing to lose and stays valid.
  virtual void Reset();
  /// Maps raw to refined coordinates. The outputs may be the inputs.
  /// \param dByLine receives (d refined line / d line, d refined sample / d line) and
  /// \param dBySample receives (d refined line / d sample, d refined sample / d sample), dimensionless; both are
  /// written when both are given, and neither when one is null.
  virtual void RawToRefined(const double& line, const double& sample, double* refLine, double* refSample,
                            double* dByLine, double* dBySample) const = 0;
  /// The inverse map; arguments and derivatives are those of `RawToRefined` with raw and refined exchanged.
  virtual void RefinedToRaw(const double& line, const double& sample, double* rawLine, double* rawSample,
                            double* dByLine, double* dBySample) const = 0;
  /// A new record with the transform's parameters.
  virtual var_a<TRPCRefinementDataBase*> GetRefinementData() const = 0;
  /// Resets, then reads the current section, which holds a transform or a bare record of the same kind.
  /// \param version not used. \return false, the transform left invalid, when it holds neither or the map has no
  /// inverse.
  virtual bool InitializeFromXML(TZxXIniReader* src, std::uint64_t version) = 0;
  /// Writes "RPCRefinementType", "RPCRefinementTypeName" and "Ver" (1), then what the kind holds.
  /// \return false when something could not be written.
  virtual bool SaveToXML(TZxXIniWriter* dst) const;
  /// True when raw to refined is the identity.
  virtual bool IsUnity() const = 0;
  /// True when the transform can be used.
  virtual explicit operator bool() const;
  /// `RawToRefined` of `count` points in place, bit for bit.
  virtual void RawToRefinedArray(std::size_t count, double* line, double* sample) const;
  /// `RefinedToRaw` of `count` points, bit for bit. An output may be an input as a whole, not in part.
  virtual void RefinedToRawArray(std::size_t count, const double* line, const double* sample, double* rawLine,
                                 double* rawSample) const;

  /// The kind.
  TRPCRefinementTransformType GetType() const noexcept { return type_; }

 protected:
  TRPCRefinementBase(const TRPCRefinementBase&) = default;
  TRPCRefinementBase& operator=(const TRPCRefinementBase&) = default;

 private:
  TRPCRefinementTransformType type_;
};

/// No correction: both maps copy.
class ORBMATH_API TRPCRefinementNone : public TRPCRefinementBase {
 public:
  TRPCRefinementNone();
  /// From its record, which holds nothing.
  explicit TRPCRefinementNone(const TRPCRefinementDataNone& data);

  /// Takes nothing, as there is nothing to take. \return true.
  bool Setup(const TRPCRefinementDataNone& data);

  void RawToRefined(const double& line, const double& sample, double* refLine, double* refSample, double* dByLine,
                    double* dBySample) const override;
  void RefinedToRaw(const double& line, const double& sample, double* rawLine, double* rawSample, double* dByLine,
                    double* dBySample) const override;
  var_a<TRPCRefinementDataBase*> GetRefinementData() const override;
  bool InitializeFromXML(TZxXIniReader* src, std::uint64_t version) override;
  bool IsUnity() const override;
};

/// Constant offsets. A new one is invalid until it is set up.
class ORBMATH_API TRPCRefinementShift : public TRPCRefinementBase {
 public:
  TRPCRefinementShift();
  /// From its record.
  explicit TRPCRefinementShift(const TRPCRefinementDataShift& data);

  /// Takes the parameters of `data`. \return true.
  bool Setup(const TRPCRefinementDataShift& data);
  /// The current record.
  TRPCRefinementDataShift RefinementData() const;

  void Reset() override;
  void RawToRefined(const double& line, const double& sample, double* refLine, double* refSample, double* dByLine,
                    double* dBySample) const override;
  void RefinedToRaw(const double& line, const double& sample, double* rawLine, double* rawSample, double* dByLine,
                    double* dBySample) const override;
  var_a<TRPCRefinementDataBase*> GetRefinementData() const override;
  bool InitializeFromXML(TZxXIniReader* src, std::uint64_t version) override;
  bool SaveToXML(TZxXIniWriter* dst) const override;
  bool IsUnity() const override;
  explicit operator bool() const override;

 private:
  TRPCRefinementDataShift data_;
};

/// An affine map and its inverse. A new one is invalid until it is set up.
class ORBMATH_API TRPCRefinementAffine : public TRPCRefinementBase {
 public:
  TRPCRefinementAffine();
  /// \throws TZxMessage when `Setup` refuses `data`.
  explicit TRPCRefinementAffine(const TRPCRefinementDataAffine& data);
  /// \throws TZxMessage when `src` is not valid.
  TRPCRefinementAffine(const TRPCRefinementAffine& src);
  TRPCRefinementAffine& operator=(const TRPCRefinementAffine&) = default;

  /// Takes the parameters of `data` and computes the inverse map.
  /// \return false, the transform unchanged, when a parameter is unset or not finite or the map has no inverse.
  bool Setup(const TRPCRefinementDataAffine& data);
  /// Copies the map raw to refined. \return false, `*data` untouched, when the transform is invalid or `data` null.
  bool GetRefinementData(TRPCRefinementDataAffine* data) const;

  void Reset() override;
  void RawToRefined(const double& line, const double& sample, double* refLine, double* refSample, double* dByLine,
                    double* dBySample) const override;
  void RefinedToRaw(const double& line, const double& sample, double* rawLine, double* rawSample, double* dByLine,
                    double* dBySample) const override;
  var_a<TRPCRefinementDataBase*> GetRefinementData() const override;
  /// The inverse map is taken as it is stored, without a test against the direct one; it is computed when it is not
  /// there, incomplete or not finite, and only then the direct map must have one.
  bool InitializeFromXML(TZxXIniReader* src, std::uint64_t version) override;
  bool SaveToXML(TZxXIniWriter* dst) const override;
  bool IsUnity() const override;
  explicit operator bool() const override;
  void RawToRefinedArray(std::size_t count, double* line, double* sample) const override;
  void RefinedToRawArray(std::size_t count, const double* line, const double* sample, double* rawLine,
                         double* rawSample) const override;

 private:
  void SetRawToRefined(const TRPCRefinementDataAffine& data);
  void SetRefinedToRaw(const TRPCRefinementDataAffine& data);

  TRPCRefinementDataAffine raw_to_refined_;
  TRPCRefinementDataAffine refined_to_raw_;
};

/// A projective map and its inverse. A new one is invalid until it is set up. Copies share the plane transform.
class ORBMATH_API TRPCRefinementProjective : public TRPCRefinementBase {
 public:
  TRPCRefinementProjective();
  /// \throws TZxMessage when `Setup` refuses `data`.
  explicit TRPCRefinementProjective(const TRPCRefinementDataProjective& data);

  /// Takes the matrix of `data`. \return false, the transform unchanged, when the matrix has no inverse or an element
  /// is not finite.
  bool Setup(const TRPCRefinementDataProjective& data);
  /// The current record.
  TRPCRefinementDataProjective RefinementData() const;

  void Reset() override;
  void RawToRefined(const double& line, const double& sample, double* refLine, double* refSample, double* dByLine,
                    double* dBySample) const override;
  void RefinedToRaw(const double& line, const double& sample, double* rawLine, double* rawSample, double* dByLine,
                    double* dBySample) const override;
  var_a<TRPCRefinementDataBase*> GetRefinementData() const override;
  bool InitializeFromXML(TZxXIniReader* src, std::uint64_t version) override;
  bool SaveToXML(TZxXIniWriter* dst) const override;
  bool IsUnity() const override;
  explicit operator bool() const override;

 private:
  TRPCRefinementDataProjective data_;
  var_a<TProjectiveTransform*> transform_;
};

/// A new transform of that kind, not set up. \throws TZxMessage for a value outside 0 to 3.
ORBMATH_API var_a<TRPCRefinementBase*> CreateRefinementE(TRPCRefinementTransformType type);
/// A new transform of that kind, not set up; empty for a value outside 0 to 3.
ORBMATH_API var_a<TRPCRefinementBase*> CreateRefinementN(TRPCRefinementTransformType type);
/// A new transform with the parameters of `src`.
/// \throws TZxMessage when its kind is unknown or it has no inverse (see `Setup` of the kinds).
ORBMATH_API var_a<TRPCRefinementBase*> CreateRefinementE(const TRPCRefinementDataBase& src);
/// A new transform with the parameters of `src`; empty when its kind is unknown or it has no inverse.
ORBMATH_API var_a<TRPCRefinementBase*> CreateRefinementN(const TRPCRefinementDataBase& src);
/// A copy of `src`. \throws TZxMessage when its kind is unknown or it is an affine transform that is not valid.
ORBMATH_API var_a<TRPCRefinementBase*> CreateRefinementCopyE(const TRPCRefinementBase& src);
/// A copy of `src`; empty when its kind is unknown or it is an affine transform that is not valid.
ORBMATH_API var_a<TRPCRefinementBase*> CreateRefinementCopyN(const TRPCRefinementBase& src);
/// A new transform read from the current section, which holds a transform or a bare record; the kind is found as by
/// `CreateRefinementDataFromXMLE`. \throws TZxMessage when it holds none, or a record that has no inverse.
ORBMATH_API var_a<TRPCRefinementBase*> CreateRefinementFromXMLE(TZxXIniReader* from_xml);
/// A new transform read as by `CreateRefinementFromXMLE`; empty where that throws.
ORBMATH_API var_a<TRPCRefinementBase*> CreateRefinementFromXMLN(TZxXIniReader* from_xml);

}  // namespace SatCommonUtils
