target_sources(OrbmathRaster PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/gdal_session.cpp
  ${CMAKE_CURRENT_LIST_DIR}/geoid_files.cpp
  ${CMAKE_CURRENT_LIST_DIR}/height_files.cpp
  ${CMAKE_CURRENT_LIST_DIR}/height_raster.cpp
  ${CMAKE_CURRENT_LIST_DIR}/image_model.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tiff_model.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tool_functions.cpp
)
