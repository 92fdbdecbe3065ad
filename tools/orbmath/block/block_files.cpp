// Adjusted models, their exchange document and plain models, from the corrections of a block.

#include "block/block_files.h"

#include <algorithm>
#include <exception>
#include <memory>

#include "accuracy/error_model.h"
#include "block/block_adjustment.h"
#include "errors.h"
#include "frame/zxstd/stream.h"
#include "frame/zxstd/threads.h"
#include "models/in_parallel.h"
#include "models/raster_library.h"
#include "refine/adjusted_rpc.h"
#include "refine/rpc_exchange.h"
#include "report/interruption.h"
#include "rpc/image_distance.h"

namespace orbmath_tool {

using SatCommonUtils::TAdjustedRPC;
using SatCommonUtils::TBlockImageState;
using SatCommonUtils::TCipherRPCImpExpDataItem;
using SatCommonUtils::TRPC;
using SatCommonUtils::TRPCData;
using SatCommonUtils::TRPCFileForm;

namespace {

/// What an image's correction is written as, made but not written.
struct ImageOutput {
  ImageFiles files;
  std::string xml;
  std::string plain;                               ///< bytes of the plain model; empty: it goes into an image
  TRPCData plain_record;                           ///< the plain model
  SatCommonUtils::TRPCFileExtras plain_extras;     ///< what its file says beside it
  std::unique_ptr<TCipherRPCImpExpDataItem> item;  ///< null: the exchange document cannot hold it
  std::exception_ptr error;
};

/// Makes the outputs of images; each call works on its own.
class OutputMaker {
 public:
  OutputMaker(const BlockImages& images, const SatCommonUtils::TBlockResult& result, PlainForm plain)
      : images_(images), result_(result), plain_(plain) {}

  bool HasOutput(std::size_t image) const {
    const TBlockImageState state = result_.images[image].state;
    return state == TBlockImageState::Adjusted || state == TBlockImageState::Fixed;
  }

  /// \throws Failure
  void Make(std::size_t image, ImageOutput* output) const {
    if (Interruption::IsAsked()) throw Failure(kInterrupted);
    const Model& model = images_.ModelOf(image);
    const auto& parameters = result_.images[image].parameters;
    const std::shared_ptr<TAdjustedRPC> adjusted = SatCommonUtils::AdjustedModelOf(*model.rpc, parameters);
    if (adjusted == nullptr) throw Failure(model.name + ": its correction makes no model");
    adjusted->SetRefinementCovariance(SatCommonUtils::CovarianceOfBlock(*model.rpc, result_, image));
    const std::string& name = images_.Name(image);
    output->files.adjusted = name + ".xml";
    output->xml = FormatModel(*adjusted, model.file.extras, TRPCFileForm::XML, output->files.adjusted).content;
    output->item = ItemOf(name, *model.rpc, parameters);
    if (plain_ != PlainForm::None) MakePlain(name, model, *adjusted, output);
  }

 private:
  /// The image in the exchange document, which holds affine corrections only; null for another one.
  static std::unique_ptr<TCipherRPCImpExpDataItem> ItemOf(const std::string& name, const TRPC& model,
                                                          const SatCommonUtils::TBlockParameters& parameters) {
    const auto refinement = SatCommonUtils::RefinementOfBlock(model, parameters);
    const auto* affine = dynamic_cast<const SatCommonUtils::TRPCRefinementDataAffine*>(refinement.get());
    if (affine == nullptr) return nullptr;
    auto item = std::make_unique<TCipherRPCImpExpDataItem>();
    item->name = name;
    model.GetRPCData(&item->rpc);
    item->refinement = *affine;
    return item;
  }

  void MakePlain(const std::string& name, const Model& model, const TAdjustedRPC& adjusted, ImageOutput* output) const {
    const SatCommonUtils::TRefinedExport exported = adjusted.ExportRefined();
    if (!exported.success) throw Failure(model.name + ": no plain model can be made: " + exported.message);
    output->plain_record = exported.record;
    output->plain_extras = model.file.extras;
    const SatCommonUtils::TExportedErrors errors = SatCommonUtils::ErrorsOfExport(adjusted);
    if (errors.bias) output->plain_extras.biasError = errors.bias;
    if (errors.random) output->plain_extras.randomError = errors.random;
    if (plain_ == PlainForm::Image) {
      output->files.plain = name + ".tif";
    } else {
      const bool rpb = plain_ == PlainForm::Rpb;
      output->files.plain = name + (rpb ? ".RPB" : "_RPC.TXT");
      const auto written = FormatModel(TRPC(exported.record), output->plain_extras,
                                       rpb ? TRPCFileForm::RPB : TRPCFileForm::Text, output->files.plain);
      output->plain = written.content;
      output->plain_record = written.record;
    }
    const SatCommonUtils::TImageDistance error = SatCommonUtils::DistanceInImage(adjusted, TRPC(output->plain_record));
    output->files.plain_worst = error.worst;
    output->files.plain_rms = error.rms;
  }

  const BlockImages& images_;
  const SatCommonUtils::TBlockResult& result_;
  const PlainForm plain_;
};

/// The outputs of all images, made by several threads: images are many and each is little work. \throws Failure of the
/// first image that has one.
std::vector<ImageOutput> MakeAll(const OutputMaker& maker, std::size_t count) {
  std::vector<ImageOutput> outputs(count);
  const auto make = [&](std::size_t i) {
    if (!maker.HasOutput(i)) return;
    try {
      maker.Make(i, &outputs[i]);
    } catch (...) {
      outputs[i].error = std::current_exception();
    }
  };
  InParallel(count, SatCommonUtils::ZxGetThreadsCount(), make, [](std::size_t) {});
  for (const ImageOutput& output : outputs) {
    if (output.error) std::rethrow_exception(output.error);
  }
  return outputs;
}

/// A copy of the image whose model is the plain one.
void AddImageCopy(const Model& model, const ImageOutput& output, ResultFolder* folder) {
  if (model.file.form != TRPCFileForm::Image) {
    throw Failure(model.name + ": is no image, so there is nothing that --plain tif could put its model into");
  }
  folder->AddCopy(output.files.plain, model.name, [&](const std::string& copy) {
    SatCommonUtils::TRPCFileError error;
    if (!WriteImage(copy, output.plain_record, output.plain_extras, &error)) throw Failure(error.GetText());
  });
}

}  // namespace

std::vector<ImageFiles> AddModelFiles(const BlockImages& images, const SatCommonUtils::TBlockResult& result,
                                      PlainForm plain, ResultFolder* folder, std::vector<std::string>* notes) {
  const OutputMaker maker(images, result, plain);
  std::vector<ImageOutput> outputs = MakeAll(maker, images.size());
  std::vector<ImageFiles> files;
  SatCommonUtils::TCipherRPCImpExpDataset document;
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    ImageOutput& output = outputs[i];
    files.push_back(output.files);
    if (!maker.HasOutput(i)) continue;
    folder->Add(output.files.adjusted, std::move(output.xml));
    if (plain == PlainForm::Image) {
      AddImageCopy(images.ModelOf(i), output, folder);
    } else if (plain != PlainForm::None) {
      folder->Add(output.files.plain, std::move(output.plain));
    }
    if (output.item != nullptr) {
      document.items.push_back(*output.item);
    } else {
      notes->push_back("image '" + images.Name(i) +
                       "' had a projective correction before, which block.xml cannot hold; it is left out there");
    }
  }
  SatCommonUtils::TZxStringStream stream;
  if (!document.SaveToXML(&stream)) throw Failure("block.xml: a name holds bytes that XML cannot");
  folder->Add("block.xml", stream.GetString());
  return files;
}

}  // namespace orbmath_tool
