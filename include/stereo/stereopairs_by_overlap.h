#pragma once
/// \file
/// Criteria by which candidate stereo pairs are accepted or rejected.

#include <string>

#include "../frame/api.h"
#include "../frame/zxstd/var_a.h"

namespace SatCommonUtils {
class TZxXIniReader;
class TZxXIniWriter;
}  // namespace SatCommonUtils

namespace StereopairsByOverlap {

/// The criteria of a search for stereo pairs. The record only holds them; the search belongs to the host.
///
/// Each group has a flag that switches its check on, its limits, and a flag that says whether a pair whose value cannot
/// be determined is rejected. Field names are also the keys of the XML form. A plain value: const operations are safe
/// from several threads.
struct ORBMATH_API TStereopairsByOverlapParams {
  bool TiesRequired;  ///< Tie points between the images are wanted.

  bool CheckOverlapPercentage;        ///< Whether this is looked at.
  double MinOverlapPercentage;        ///< Percent, above 0 up to 100.
  bool RejectUndefOverlapPercentage;  ///< Pairs of which it is not known are no pairs.

  bool CheckOverlapPixels;        ///< Whether this is looked at.
  double MinOverlapPixels;        ///< Pixels, above 0.
  bool RejectUndefOverlapPixels;  ///< Pairs of which it is not known are no pairs.

  bool CheckConvergenceAngle;        ///< Whether this is looked at.
  double MinConvergenceAngle;        ///< Degrees; 361 marks an invalid limit.
  double MaxConvergenceAngle;        ///< Degrees, not below the minimum; 361 marks an invalid limit.
  bool RejectUndefConvergenceAngle;  ///< Pairs of which it is not known are no pairs.

  bool TheSameSensor;      ///< Both images are of one sensor.
  bool RejectUndefSensor;  ///< Pairs of which it is not known are no pairs.

  bool CheckTimeGap;        ///< Whether this is looked at.
  double MinTimeGap;        ///< In the unit of the host's choice, 0 or more.
  double MaxTimeGap;        ///< In the same unit, not below the minimum.
  bool RejectUndefTimeGap;  ///< Pairs of which it is not known are no pairs.

  bool CheckDateGap;        ///< Whether this is looked at.
  int MaxDateGap;           ///< In the unit of the host's choice (days, say), 0 or more.
  bool RejectUndefDateGap;  ///< Pairs of which it is not known are no pairs.

  bool CheckGSD;             ///< Whether this is looked at.
  double MaxGSDPercentDiff;  ///< Difference of ground sample distances, percent, 0 to 100.
  bool RejectUndefGSD;       ///< Pairs of which it is not known are no pairs.

  bool CheckSunAzimuthDiff;        ///< Whether this is looked at.
  double MaxSunAzimuthDiff;        ///< Degrees, 0 to 180.
  bool RejectUndefSunAzimuthDiff;  ///< Pairs of which it is not known are no pairs.

  bool CheckSunElevationDiff;        ///< Whether this is looked at.
  double MaxSunElevationDiff;        ///< Degrees, 0 to 90.
  bool RejectUndefSunElevationDiff;  ///< Pairs of which it is not known are no pairs.

  /// The defaults of `Reset`.
  TStereopairsByOverlapParams();

  /// No check on, usual limits, undefined values rejected.
  void Reset();
  /// Every check on, with limits that fail the test of `operator bool`.
  void Invalidate();
  /// True when the limits of every group whose check is on are in their ranges.
  explicit operator bool() const;

  /// Reads the current section.
  ///
  /// Mandatory are `TiesRequired`, `TheSameSensor`, `RejectUndefSensor` and the check flags of overlap, convergence
  /// angle, time gap and ground sample distance, and, in a group whose check is on, its limits and its reject flag but
  /// for `MinTimeGap`. Everything else takes the value of `Reset` when it is missing. The values are not tested: see
  /// `operator bool`.
  /// \return true.
  /// \throws TZxMessage when a mandatory key is missing or not readable; the record is then as after `Invalidate`, and
  /// the reader in the section where it was.
  bool InitializeFromXML(SatCommonUtils::TZxXIniReader* reader);
  /// Reads the child section `key` likewise.
  /// \return false, the record untouched, when there is no such section; else whether it was read and left again.
  bool InitializeFromXML(SatCommonUtils::TZxXIniReader* reader, const std::string& key);
  /// Writes every field into the current section, in order.
  /// \return whether the writer took everything.
  bool SaveToXML(SatCommonUtils::TZxXIniWriter* writer) const;
  /// Writes them into a new child section `key`.
  /// \return whether the writer took everything.
  bool SaveToXML(SatCommonUtils::TZxXIniWriter* writer, const std::string& key) const;
};

/// A new record, read from the child section `key`; it has the defaults when there is no such section.
/// \throws TZxMessage as `TStereopairsByOverlapParams::InitializeFromXML`.
ORBMATH_API SatCommonUtils::var_a<TStereopairsByOverlapParams*> CreateStereopairsByOverlapParams(
    SatCommonUtils::TZxXIniReader* reader, const std::string& key);

}  // namespace StereopairsByOverlap
