// What the states of terrain searches mean, in words.

#include "terrain/terrain_locator.h"

namespace SatCommonUtils {

const char* DescribeTerrainState(TTerrainState state) {
  switch (state) {
    case TTerrainState::NotRun:
      return "nothing was computed";
    case TTerrainState::Found:
      return "the first point of the terrain that is seen";
    case TTerrainState::FoundAfterVoid:
      return "a point of the terrain, which terrain of unknown height may hide";
    case TTerrainState::NoTerrain:
      return "the line of sight meets no terrain of known height (a void, or outside the DEM)";
    case TTerrainState::NoCrossing:
      return "the line of sight does not meet the terrain";
    case TTerrainState::NoLine:
      return "the model has no ground point at the terrain's heights";
  }
  return "unknown state";
}

const char* DescribeVisibility(TVisibility visibility) {
  switch (visibility) {
    case TVisibility::NotRun:
      return "nothing was computed";
    case TVisibility::Visible:
      return "visible";
    case TVisibility::VisibleVoid:
      return "visible as far as heights are known";
    case TVisibility::Hidden:
      return "hidden by terrain";
    case TVisibility::NoLine:
      return "the model has no line of sight through the point";
  }
  return "unknown visibility";
}

}  // namespace SatCommonUtils
