target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/module.cpp
  ${CMAKE_CURRENT_LIST_DIR}/module_file.cpp
)
