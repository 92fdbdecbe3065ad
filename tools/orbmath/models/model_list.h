#pragma once
/// \file
/// Many model files at once.

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "commands/command_line.h"
#include "models/model.h"

namespace orbmath_tool {

/// A model file of a list, or what is wrong with it.
struct ListedModel {
  std::string name;
  std::optional<Model> model;
  std::string error;  ///< one line; empty when there is a model
};

/// The options of commands that read lists of models.
class ModelListReading {
 public:
  /// Declares `--threads` and what `ModelReading` declares.
  void Declare(CommandLine& line);
  int Threads() const;

  /// Reads the files on several threads, in their order. A file that cannot be read ends nothing.
  /// \param then called for each model that was read, with its place in the list, from any of the threads.
  std::vector<ListedModel> Read(const std::vector<std::string>& names, const std::string& what,
                                const std::function<void(std::size_t, const Model&)>& then) const;

 private:
  ModelReading reading_;
  std::optional<int> threads_;
};

/// Places of models that are said to be of one image: their files have one stem, but for what the forms put around it
/// ("_RPC", "RPC_", ".aux"), and their rasters, where known, one size. Only groups of two and more.
std::vector<std::vector<std::size_t>> SameImageGroups(const std::vector<ListedModel>& models);

}  // namespace orbmath_tool
