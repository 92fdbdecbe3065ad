target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/file_names.cpp
  ${CMAKE_CURRENT_LIST_DIR}/numbers.cpp
  ${CMAKE_CURRENT_LIST_DIR}/pvl.cpp
  ${CMAKE_CURRENT_LIST_DIR}/pvl_scanner.cpp
  ${CMAKE_CURRENT_LIST_DIR}/start_stop.cpp
  ${CMAKE_CURRENT_LIST_DIR}/string_tree.cpp
)
