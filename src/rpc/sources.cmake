target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/ground_solution.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ground_state.cpp
  ${CMAKE_CURRENT_LIST_DIR}/image_to_ground.cpp
  ${CMAKE_CURRENT_LIST_DIR}/intersection_solution.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_alternative_search.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_approximation.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_axes.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_boxes.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_compare.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_data.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_fields.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_file.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_forms.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_inversion.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_model.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_model_xml.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_prepared.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_projection.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_rpb_form.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_text_form.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_terms.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_two_images.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_xml_form.cpp
  ${CMAKE_CURRENT_LIST_DIR}/solution_flags.cpp
)

# The polynomials are long straight runs of arithmetic beside slow divisions: scheduling before register allocation,
# which GCC leaves out on x86, overlaps them and gains 7 to 8 % (benchmarks/rpc.cpp).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  set_source_files_properties(
    ${CMAKE_CURRENT_LIST_DIR}/rpc_inversion.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rpc_projection.cpp
    PROPERTIES COMPILE_OPTIONS "-fschedule-insns;-fsched-pressure")
endif()
