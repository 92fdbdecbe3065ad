#pragma once
/// \file
/// The record of one rational polynomial (RPC) camera model, and one image observation.

#include <string>

#include "../frame/api.h"
#include "../frame/zxstd/stream.h"
#include "../frame/zxstd/unset_mark.h"
#include "../frame/zxstd/xini_reader.h"
#include "../frame/zxstd/xini_writer.h"

namespace SatCommonUtils {

class TRPC;

/// The ninety numbers of an RPC model.
///
/// Each (offset, scale) pair normalises one coordinate: normalised = (value - offset) / scale. With P, L and H the
/// normalised latitude, longitude and height, coefficient k of every array multiplies the term
///
/// | k | term | k | term | k  | term  | k  | term |
/// |---|------|---|------|----|-------|----|------|
/// | 0 | 1    | 5 | L H  | 10 | P L H | 15 | P^3  |
/// | 1 | L    | 6 | P H  | 11 | L^3   | 16 | P H^2|
/// | 2 | P    | 7 | L^2  | 12 | L P^2 | 17 | L^2 H|
/// | 3 | H    | 8 | P^2  | 13 | L H^2 | 18 | P^2 H|
/// | 4 | L P  | 9 | H^2  | 14 | L^2 P | 19 | H^3  |
///
/// (the order called RPC00B in NIMA STDI-0002, "The Compendium of Controlled Extensions for NITF", appendix E).
/// Normalised line = lineNum / lineDen, normalised sample = sampNum / sampDen, each the plain sum of its terms.
///
/// A new record is all unset. Members stand in the order of the fields in memory. The record tests nothing but the
/// unset mark: NaN, infinities and zero scales are values like any other. What a file says beside these numbers
/// (identifiers, error estimates) is handled by `rpc/rpc_file.h`.
struct ORBMATH_API TRPCData {
  double lineNumCoef[20];  ///< numerator of the line function, dimensionless
  double lineDenCoef[20];  ///< denominator of the line function, dimensionless
  double sampNumCoef[20];  ///< numerator of the sample function, dimensionless
  double sampDenCoef[20];  ///< denominator of the sample function, dimensionless
  double lineOffset;       ///< pixels
  double lineScale;        ///< pixels
  double sampOffset;       ///< pixels
  double sampScale;        ///< pixels
  double latOffset;        ///< degrees
  double latScale;         ///< degrees
  double longOffset;       ///< degrees
  double longScale;        ///< degrees
  double heightOffset;     ///< metres
  double heightScale;      ///< metres

  /// All ninety numbers unset.
  TRPCData();

  /// Sets all ninety numbers to the unset mark.
  void Invalidate();
  /// True when none of the ninety numbers equals the unset mark.
  explicit operator bool() const;

  /// Reads a file of the RPB form: PVL text with a group IMAGE. The record is invalidated first.
  /// \param path UTF-8.
  /// \param errBias receives the bias error, metres, 0 when the file does not say; may be null; untouched on failure.
  /// \param errRand receives the random error, metres, in the same way.
  /// \return true when the record is complete.
  bool InitializeFromRPBFile(const std::string& path, double* errBias, double* errRand);
  /// Reads the text form, one `KEY: number unit` a line; the record is invalidated first. Lines come in any order,
  /// unknown ones are skipped, the last of two lines with the same key counts. A known key without a number and a
  /// coefficient number outside 1 to 20 leave the whole record unset. A null stream fails.
  /// \return true when the record is complete.
  bool InitializeFromText(TZxStream* src);
  /// As `InitializeFromText` on the file at `path` (UTF-8). \return false also when it cannot be opened.
  bool InitializeFromTextFile(const std::string& path);
  /// Reads the record's keys from the current section; the record is invalidated first. The reader is left in the
  /// section where it was, also on failure. \return true when every key was there with a number; whether the record is
  /// complete (a saved unset mark comes back as one) is for `operator bool` to say.
  bool InitializeFromXML(TZxXIniReader* src);

  /// Writes the RPB form in one write. Offsets and scales keep 2 digits after the point (latitude and longitude 8),
  /// coefficients 9 significant digits.
  /// \param dst where to; a null stream takes nothing.
  /// \param satId satellite and \param bandId band, both as they are, without escapes.
  /// \param errBias bias error and \param errRand random error, metres, 2 digits after the point.
  /// \return true when the stream took the whole text.
  bool SaveToRPB(TZxStream* dst, const std::string& satId, const std::string& bandId, const double& errBias,
                 const double& errRand) const;
  /// Writes the text form line by line, and stops at the first line that the stream does not take whole. Offsets and
  /// scales keep 2 (pixels), 8 (degrees) or 3 (metres) digits after the point, coefficients 16 significant digits.
  /// \param dst where to; a null stream takes nothing.
  /// \param latLonUnits word behind latitudes and longitudes, "degrees" when empty.
  /// \param heightUnits word behind heights, "meters" when empty.
  bool SaveToText(TZxStream* dst, std::string latLonUnits, std::string heightUnits) const;
  /// Writes the record's keys into the current section, every number bit for bit.
  bool SaveToXML(TZxXIniWriter* dst) const;
};

/// One measured image point and the model of its image, for the solutions over several images.
struct TRPCCoordsDataItem {
  const TRPC* model = nullptr;  ///< model of the image; not owned
  double line = 0.0;            ///< measured line, pixels
  double sample = 0.0;          ///< measured sample, pixels
  double firstWeight = 1.0;     ///< kept with the observation, dimensionless
  double secondWeight = 1.0;    ///< kept with the observation, dimensionless
};

}  // namespace SatCommonUtils
