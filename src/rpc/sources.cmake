target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/rpc_compare.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_data.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_fields.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_forms.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_text_form.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_xml_form.cpp
)
