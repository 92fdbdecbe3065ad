target_sources(OrbmathRaster PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/gdal_session.cpp
  ${CMAKE_CURRENT_LIST_DIR}/geoid_files.cpp
  ${CMAKE_CURRENT_LIST_DIR}/height_files.cpp
  ${CMAKE_CURRENT_LIST_DIR}/height_raster.cpp
  ${CMAKE_CURRENT_LIST_DIR}/image_coordinates.cpp
  ${CMAKE_CURRENT_LIST_DIR}/image_model.cpp
  ${CMAKE_CURRENT_LIST_DIR}/image_source.cpp
  ${CMAKE_CURRENT_LIST_DIR}/map_frame.cpp
  ${CMAKE_CURRENT_LIST_DIR}/map_output.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ortho.cpp
  ${CMAKE_CURRENT_LIST_DIR}/plane_transformation.cpp
  ${CMAKE_CURRENT_LIST_DIR}/resampling.cpp
  ${CMAKE_CURRENT_LIST_DIR}/reference_system.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tiff_model.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tool_functions.cpp
)
