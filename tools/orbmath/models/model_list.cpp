// Many model files at once: read on several threads, and told apart by image.

#include "models/model_list.h"

#include <algorithm>
#include <cctype>
#include <map>

#include "errors.h"
#include "frame/zxstd/threads.h"
#include "models/image_names.h"
#include "models/in_parallel.h"
#include "report/progress_line.h"

namespace orbmath_tool {

namespace {

/// What the name of a file says of its image.
std::string ImageOf(const std::string& path) {
  std::string stem = WithoutModelMark(FileStemOf(path));
  std::transform(stem.begin(), stem.end(), stem.begin(), [](unsigned char c) { return std::tolower(c); });
  return stem == "rpc" ? std::string() : stem;
}

std::pair<int, int> RasterOf(const Model& model) {
  std::pair<int, int> size{0, 0};
  model.rpc->GetRasterDims(&size.first, &size.second);
  return size;
}

}  // namespace

void ModelListReading::Declare(CommandLine& line) {
  line.Count("--threads", "N", 1, 1024, &threads_, "threads that compute (default: one a processor)");
  reading_.Declare(line);
}

int ModelListReading::Threads() const { return threads_.value_or(SatCommonUtils::ZxGetThreadsCount()); }

std::vector<ListedModel> ModelListReading::Read(const std::vector<std::string>& names, const std::string& what,
                                                const std::function<void(std::size_t, const Model&)>& then) const {
  std::vector<ListedModel> models(names.size());
  ProgressLine progress(false);
  InParallel(
      names.size(), Threads(),
      [&](std::size_t i) {
        models[i].name = names[i];
        try {
          models[i].model = ReadModel(names[i], reading_);
          then(i, *models[i].model);
        } catch (const Failure& failure) {
          models[i].error = failure.what();
        }
      },
      [&](std::size_t begun) {
        if (progress.IsDue())
          progress.Show(what + " " + std::to_string(begun) + " of " + std::to_string(names.size()),
                        static_cast<double>(begun) / static_cast<double>(names.size()));
      });
  return models;
}

std::vector<std::vector<std::size_t>> SameImageGroups(const std::vector<ListedModel>& models) {
  std::map<std::string, std::vector<std::size_t>> by_stem;
  for (std::size_t i = 0; i < models.size(); ++i) {
    if (!models[i].model || models[i].model->kind == SatCommonUtils::TModelKind::Inverse) continue;
    const std::string stem = ImageOf(models[i].name);
    if (!stem.empty()) by_stem[stem].push_back(i);
  }
  std::vector<std::vector<std::size_t>> groups;
  for (const auto& [stem, places] : by_stem) {
    std::map<std::pair<int, int>, std::vector<std::size_t>> by_size;
    for (const std::size_t i : places) by_size[RasterOf(*models[i].model)].push_back(i);
    // Those of unknown size join those of the one size that is known.
    const auto unknown = by_size.find({0, 0});
    if (unknown != by_size.end() && by_size.size() == 2) {
      std::vector<std::size_t> all = places;
      by_size.clear();
      by_size[{0, 0}] = std::move(all);
    }
    for (auto& [size, group] : by_size) {
      if (group.size() > 1) groups.push_back(std::move(group));
    }
  }
  return groups;
}

}  // namespace orbmath_tool
