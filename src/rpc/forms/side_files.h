#pragma once
// What lies beside a model file and belongs to its product.

#include <string>

#include "rpc/forms/xml_elements.h"
#include "rpc/rpc_file.h"

namespace SatCommonUtils {

namespace RPCForms {

/// Adds what the file's product description says: NAME.IMD beside an RPB or text file, DIM_NAME.XML beside the
/// RPC_NAME.XML of DIMAP. What the model file says itself stays. A description that is damaged is noted.
void AddSideFiles(const std::string& path, TRPCFile* out);

/// Satellite, band, raster size and time of a DIMAP document.
void AddDimapProduct(const XmlElements& xml, TRPCFile* out);

}  // namespace RPCForms

}  // namespace SatCommonUtils
