target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/cell.cpp
  ${CMAKE_CURRENT_LIST_DIR}/cell_crossing.cpp
  ${CMAKE_CURRENT_LIST_DIR}/crossing_bounds.cpp
  ${CMAKE_CURRENT_LIST_DIR}/grid_walk.cpp
  ${CMAKE_CURRENT_LIST_DIR}/height_grid.cpp
  ${CMAKE_CURRENT_LIST_DIR}/height_surface.cpp
  ${CMAKE_CURRENT_LIST_DIR}/height_tile.cpp
  ${CMAKE_CURRENT_LIST_DIR}/height_tile_cache.cpp
  ${CMAKE_CURRENT_LIST_DIR}/sight_line.cpp
  ${CMAKE_CURRENT_LIST_DIR}/sight_patches.cpp
  ${CMAKE_CURRENT_LIST_DIR}/sight_square.cpp
  ${CMAKE_CURRENT_LIST_DIR}/simple_points.cpp
  ${CMAKE_CURRENT_LIST_DIR}/single_crossing.cpp
  ${CMAKE_CURRENT_LIST_DIR}/surface_walk.cpp
  ${CMAKE_CURRENT_LIST_DIR}/terrain_locator.cpp
  ${CMAKE_CURRENT_LIST_DIR}/terrain_states.cpp
)
