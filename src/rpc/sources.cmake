target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/rpc_compare.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_data.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_fields.cpp
)
