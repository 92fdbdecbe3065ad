#pragma once
/// \file
/// The parameter records of the four kinds of refinement: corrections of the image coordinates of an RPC model.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "../frame/api.h"
#include "../frame/zxstd/matr3x3.h"
#include "../frame/zxstd/var_a.h"
#include "../frame/zxstd/xini_reader.h"
#include "../frame/zxstd/xini_writer.h"

namespace SatCommonUtils {

/// The kinds of refinement. The values are those of the stored key "RPCRefinementType".
enum class TRPCRefinementTransformType : std::int32_t {
  None = 0,        ///< No correction.
  Shift = 1,       ///< Constant offsets of line and sample.
  Affine = 2,      ///< Affine map of (line, sample).
  Projective = 3,  ///< Projective map of (line, sample).
};

/// "None", "Shift", "Affine", "Projective", and "Unknown" for any other value.
ORBMATH_API const char* GetRPCRefinementTransformTypeName(TRPCRefinementTransformType type) noexcept;

/// A record of refinement parameters. Raw is what the model computes, refined what is measured in the image;
/// lines and samples are pixels.
class ORBMATH_API TRPCRefinementDataBase {
 public:
  TRPCRefinementDataBase() = default;
  /// A record of this kind.
  explicit TRPCRefinementDataBase(TRPCRefinementTransformType kind) noexcept : type(kind) {}
  virtual ~TRPCRefinementDataBase();

  /// Sets the parameters to the identity correction.
  virtual void InitializeUnity() = 0;
  /// Returns to the state of a new record: invalid for the affine kind, the identity for the others.
  virtual void Reset() = 0;
  /// Resets, then reads the parameters from the current section; a parameter whose key is missing keeps its reset
  /// value. \param version not used by these records. \return true when every parameter was there; false for a null
  /// reader.
  virtual bool InitializeFromXML(TZxXIniReader* src, std::uint64_t version) = 0;
  /// Writes "RPCRefinementType", "RPCRefinementTypeName" and "Ver" (1), then the parameters.
  /// \return false when something could not be written, or for a null writer.
  virtual bool SaveToXML(TZxXIniWriter* dst) const;
  /// A new record of the same kind and values.
  virtual var_a<TRPCRefinementDataBase*> CreateCopyE() const = 0;
  /// True when the record can be used: an affine one when no parameter is the unset mark, the others always.
  virtual explicit operator bool() const = 0;
  /// True when the parameters are the identity correction.
  virtual bool IsUnity() const = 0;
  /// Replaces the content of `*values` by the parameters, by none when the record is not valid.
  /// \return their number.
  virtual std::size_t GetParametersValues(std::vector<double>* values) const;
  /// Sends the record to the debug print.
  virtual void DebugOutput() const;
  /// Names of the parameters, in the order of `GetParametersValues`; none in the base.
  virtual std::vector<std::string> GetParametersNames() const;

  /// As `CreateCopyE`, but empty where that would throw.
  var_a<TRPCRefinementDataBase*> CreateCopyN() const;

  TRPCRefinementTransformType type = TRPCRefinementTransformType::None;  ///< The kind.

 protected:
  TRPCRefinementDataBase(const TRPCRefinementDataBase&) = default;
  TRPCRefinementDataBase& operator=(const TRPCRefinementDataBase&) = default;

  /// Appends the parameters to `*values`; the base has none.
  virtual void AppendParameters(std::vector<double>* values) const;
};

/// No correction: no parameters, always valid, always unity.
class ORBMATH_API TRPCRefinementDataNone : public TRPCRefinementDataBase {
 public:
  TRPCRefinementDataNone();
  void InitializeUnity() override;
  void Reset() override;
  bool InitializeFromXML(TZxXIniReader* src, std::uint64_t version) override;
  var_a<TRPCRefinementDataBase*> CreateCopyE() const override;
  explicit operator bool() const override;
  bool IsUnity() const override;
  std::vector<std::string> GetParametersNames() const override;

 protected:
  void AppendParameters(std::vector<double>* values) const override;
};

/// refined line = line + d_line, refined sample = sample + d_sample. A new record is the identity.
class ORBMATH_API TRPCRefinementDataShift : public TRPCRefinementDataBase {
 public:
  TRPCRefinementDataShift();
  void InitializeUnity() override;
  void Reset() override;
  bool InitializeFromXML(TZxXIniReader* src, std::uint64_t version) override;
  bool SaveToXML(TZxXIniWriter* dst) const override;
  var_a<TRPCRefinementDataBase*> CreateCopyE() const override;
  explicit operator bool() const override;
  bool IsUnity() const override;
  void DebugOutput() const override;
  /// Line offset, sample offset: the order of the values.
  std::vector<std::string> GetParametersNames() const override;

  double d_sample = 0.0;  ///< Sample offset, pixels.
  double d_line = 0.0;    ///< Line offset, pixels.

 protected:
  void AppendParameters(std::vector<double>* values) const override;
};

/// refined line = LineBias + LineDrift·line + LineTilt·sample,
/// refined sample = SampleBias + SampleDrift·line + SampleTilt·sample. A new record is unset and so invalid.
class ORBMATH_API TRPCRefinementDataAffine : public TRPCRefinementDataBase {
 public:
  TRPCRefinementDataAffine();
  void InitializeUnity() override;
  void Reset() override;
  /// Reads the six keys, from the section "RawToRefined" when there is one: so also what a refinement transform saved.
  bool InitializeFromXML(TZxXIniReader* src, std::uint64_t version) override;
  bool SaveToXML(TZxXIniWriter* dst) const override;
  var_a<TRPCRefinementDataBase*> CreateCopyE() const override;
  explicit operator bool() const override;
  bool IsUnity() const override;
  void DebugOutput() const override;
  /// LineDrift, LineTilt, LineBias, SampleDrift, SampleTilt, SampleBias: the order of the values.
  std::vector<std::string> GetParametersNames() const override;

  double LineBias;     ///< Pixels.
  double LineDrift;    ///< Refined line per line, dimensionless.
  double LineTilt;     ///< Refined line per sample, dimensionless.
  double SampleBias;   ///< Pixels.
  double SampleDrift;  ///< Refined sample per line, dimensionless.
  double SampleTilt;   ///< Refined sample per sample, dimensionless.

 protected:
  void AppendParameters(std::vector<double>* values) const override;
};

/// (refined line, refined sample, 1) is proportional to matr·(line, sample, 1). A new record is the identity.
class ORBMATH_API TRPCRefinementDataProjective : public TRPCRefinementDataBase {
 public:
  TRPCRefinementDataProjective();
  void InitializeUnity() override;
  void Reset() override;
  /// Reads "matr", from the section "data" when there is one: so also what a refinement transform saved.
  bool InitializeFromXML(TZxXIniReader* src, std::uint64_t version) override;
  bool SaveToXML(TZxXIniWriter* dst) const override;
  var_a<TRPCRefinementDataBase*> CreateCopyE() const override;
  explicit operator bool() const override;
  /// Weaker than being the identity: any uniform scaling of it counts, as it maps no point elsewhere.
  bool IsUnity() const override;
  void DebugOutput() const override;
  /// The nine elements row by row: the order of the values.
  std::vector<std::string> GetParametersNames() const override;

  matr3x3 matr;  ///< Row by row.

 protected:
  void AppendParameters(std::vector<double>* values) const override;
};

/// A new record of that kind in its reset state. \throws TZxMessage for a value outside 0 to 3.
ORBMATH_API var_a<TRPCRefinementDataBase*> CreateRefinementDataE(TRPCRefinementTransformType type);
/// A new record of that kind in its reset state; empty for a value outside 0 to 3.
ORBMATH_API var_a<TRPCRefinementDataBase*> CreateRefinementDataN(TRPCRefinementTransformType type);
/// A new record of the kind and values of `src`. \throws TZxMessage when its kind is unknown.
ORBMATH_API var_a<TRPCRefinementDataBase*> CreateRefinementDataCopyE(const TRPCRefinementDataBase& src);
/// A new record of the kind and values of `src`; empty when its kind is unknown.
ORBMATH_API var_a<TRPCRefinementDataBase*> CreateRefinementDataCopyN(const TRPCRefinementDataBase& src);
/// A new record read from the current section. The kind is that of the key "RPCRefinementType", but affine in a section
/// without the key "Ver": documents of the older form knew no other. \throws TZxMessage when the kind is unknown, a
/// parameter is missing or `src` is null.
ORBMATH_API var_a<TRPCRefinementDataBase*> CreateRefinementDataFromXMLE(TZxXIniReader* src);
/// A new record read as by `CreateRefinementDataFromXMLE`; empty where that throws.
ORBMATH_API var_a<TRPCRefinementDataBase*> CreateRefinementDataFromXMLN(TZxXIniReader* src);

}  // namespace SatCommonUtils
