#pragma once
/// \file
/// The model files that the commands take.

#include <optional>
#include <string>

#include "commands/command_line.h"
#include "frame/zxstd/var_a.h"
#include "refine/model_file.h"
#include "report/output_file.h"
#include "rpc/rpc_file.h"
#include "rpc/rpc_model.h"

namespace SatCommonUtils {
class TAdjustedRPC;
}  // namespace SatCommonUtils

namespace orbmath_tool {

/// A model file that has been read, and the model in it.
struct Model {
  std::string name;  ///< As on the command line, or "standard input".
  SatCommonUtils::TModelKind kind = SatCommonUtils::TModelKind::Plain;
  SatCommonUtils::TRPCFile file;
  SatCommonUtils::var_a<SatCommonUtils::TRPC*>
      rpc;  ///< Never empty; a `TAdjustedRPC` when the file is an adjusted one.
};

/// How the model files of a command are read.
class ModelReading {
 public:
  /// Declares `--first-pixel`.
  void Declare(CommandLine& line);
  SatCommonUtils::TRPCFileOptions Options() const;

 private:
  std::optional<int> first_pixel_;
};

/// Reads a model file of any form, "-" from standard input, or the model of an image. \param others further arguments,
/// of which one may be the model by mistake. \throws Failure naming file, line and key of what is wrong.
Model ReadModel(const std::string& given, const ModelReading& reading = {},
                const std::vector<std::string>& others = {});
/// The same. \throws Failure for an inverse model too, which does not map the ground into an image.
Model ReadGroundModel(const std::string& name, const ModelReading& reading = {},
                      const std::vector<std::string>& others = {});

/// The model when it carries a refinement, or null.
const SatCommonUtils::TAdjustedRPC* AsRefined(const Model& model);

/// The record of a model with its refinement in it. \throws Failure when no record comes close to the refined model.
SatCommonUtils::TRPCData PlainRecord(const Model& model);

/// The form of a file to be written: what `--to` says, or else the suffix of its name.
class OutputForm {
 public:
  /// \param images whether the command sets the model of an image too: `Of` then gives `TRPCFileForm::Image` for a file
  /// that is there and whose name tells no other form.
  void Declare(CommandLine& line, bool images = false);
  /// \throws UsageError when nothing tells.
  SatCommonUtils::TRPCFileForm Of(const std::string& name) const;

 private:
  int choice_ = -1;
  bool images_ = false;
};

/// The bytes of a model file (`FormatModelFile`), `name` for the file in messages. \throws Failure when the form cannot
/// hold what the model says.
SatCommonUtils::TWrittenModel FormatModel(const SatCommonUtils::TRPC& model,
                                          const SatCommonUtils::TRPCFileExtras& extras,
                                          SatCommonUtils::TRPCFileForm form, const std::string& name);

/// Writes a model file ("-" is standard output), or sets the model of an image. \throws Failure
SatCommonUtils::TWrittenModel WriteModel(const SatCommonUtils::TRPC& model,
                                         const SatCommonUtils::TRPCFileExtras& extras,
                                         SatCommonUtils::TRPCFileForm form, const std::string& name);

/// As `WriteModel` into a file that the caller commits.
SatCommonUtils::TWrittenModel WriteModel(const SatCommonUtils::TRPC& model,
                                         const SatCommonUtils::TRPCFileExtras& extras,
                                         SatCommonUtils::TRPCFileForm form, OutputFile* file);

}  // namespace orbmath_tool
