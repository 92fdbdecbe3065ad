#pragma once
/// \file
/// The images of a block, and the names by which files of measurements call them.

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "models/model.h"

namespace orbmath_tool {

/// Models given as PATH or NAME=PATH. A path gives its image several names, of which measurements may use any: the
/// file's name, its stem, and the stem without the "_RPC" or "RPC_" that makers of model files put behind or before
/// it ("a/0012_RPC.TXT": "0012_RPC.TXT", "0012_RPC", "0012").
class BlockImages {
 public:
  /// \throws UsageError when two images have one name, or one that no file in the output can have.
  explicit BlockImages(const std::vector<std::string>& arguments);

  /// Reads the models. \throws Failure
  void Read(const ModelReading& reading);

  std::size_t size() const { return images_.size(); }
  /// What reports and output files call the image: the given name, or the one that measurements use.
  const std::string& Name(std::size_t image) const { return images_[image].name; }
  /// The model; `Read` comes first.
  const Model& ModelOf(std::size_t image) const { return images_[image].model; }

  /// The image that a file of measurements calls `name`, perhaps with folders before and a suffix behind; -1: none, or
  /// several.
  std::int32_t Find(std::string_view name);

  /// The end of a sentence about a name that is no image's: what was probably meant, or what there is.
  std::string WhatThereIs(const std::string& name) const;

 private:
  struct Image {
    std::string name;
    bool named = false;  ///< by the user, or by a file of measurements
    std::string path;
    Model model;
  };

  void AddName(const std::string& name, std::int32_t image);
  std::int32_t Search(const std::string& name) const;

  std::vector<Image> images_;
  std::unordered_map<std::string, std::int32_t> known_;  ///< names of images; -1: of several
  std::unordered_map<std::string, std::int32_t> asked_;  ///< what `Find` has answered
  std::string last_;                                     ///< the last question, and
  std::int32_t last_image_ = -1;                         ///< its answer
};

}  // namespace orbmath_tool
