target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/block_adjustment.cpp
  ${CMAKE_CURRENT_LIST_DIR}/block_models.cpp
  ${CMAKE_CURRENT_LIST_DIR}/block_names.cpp
)
