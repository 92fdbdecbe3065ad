#pragma once
/// \file
/// The exchange document: named images, each with an RPC record and an affine refinement, as one XML file. Where it is
/// read, elements may carry the prefix of a namespace.

#include <string>
#include <vector>

#include "../frame/api.h"
#include "../frame/zxstd/stream.h"
#include "../frame/zxstd/xml_tree.h"
#include "../rpc/rpc_data.h"
#include "refinement_data.h"

namespace SatCommonUtils {

/// One image of the document.
class ORBMATH_API TCipherRPCImpExpDataItem {
 public:
  /// Nothing set.
  TCipherRPCImpExpDataItem();
  TCipherRPCImpExpDataItem(const TCipherRPCImpExpDataItem&) = default;
  TCipherRPCImpExpDataItem& operator=(const TCipherRPCImpExpDataItem&) = default;
  virtual ~TCipherRPCImpExpDataItem();

  /// Empties the name and unsets every number.
  void Reset();
  /// Reads an "image" element after a `Reset`. Its children may stand in any order, with texts and unknown elements
  /// between them; of several with one name the first counts. What is missing or no number stays unset.
  /// \return false only for a null element.
  bool InitializeFromXML(TZxXmlTagItem* image);
  /// Appends the children of an "image" element: a line each, every number bit for bit, unset ones left out.
  /// \return false only for a null element.
  bool SaveToXML(TZxXmlTagItem* image) const;

  std::string name;                     ///< Name of the image, UTF-8.
  TRPCData rpc;                         ///< Its model.
  TRPCRefinementDataAffine refinement;  ///< Its correction in image space.
};

/// The images of a document, in its order.
class ORBMATH_API TCipherRPCImpExpDataset {
 public:
  TCipherRPCImpExpDataset() = default;
  TCipherRPCImpExpDataset(const TCipherRPCImpExpDataset&) = default;
  TCipherRPCImpExpDataset& operator=(const TCipherRPCImpExpDataset&) = default;
  virtual ~TCipherRPCImpExpDataset();

  /// Replaces the list by the images of the file at `path` (UTF-8). \return false, the list untouched, when it cannot
  /// be read, is longer than 256 MiB, is no well-formed XML, or its root is not "DE_RPC".
  bool InitializeFromXML(const std::string& path);
  /// Replaces the list by the "image" children of `root`. \return false, the list untouched, when `root` is null.
  bool InitializeFromXML(TZxXmlTagItem* root);
  /// Writes the document to the file at `path` (UTF-8), in UTF-8, whole or not at all (`TZxOutputFile`). \return false,
  /// a file that was there before unchanged, when it could not be written.
  bool SaveToXML(const std::string& path) const;
  /// Writes the document to a stream. \return false when the stream is null or does not take everything, or a name
  /// holds bytes that XML cannot.
  bool SaveToXML(TZxStream* stream) const;

  std::vector<TCipherRPCImpExpDataItem> items;  ///< The images.
};

}  // namespace SatCommonUtils
