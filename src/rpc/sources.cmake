target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/ground_state.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_approximation.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_compare.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_data.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_fields.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_file.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_forms.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_inversion.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_model.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_model_xml.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_projection.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_rpb_form.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_text_form.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_xml_form.cpp
)
