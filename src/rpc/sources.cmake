target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/branch.cpp
  ${CMAKE_CURRENT_LIST_DIR}/check/model_check.cpp
  ${CMAKE_CURRENT_LIST_DIR}/check/model_check_file.cpp
  ${CMAKE_CURRENT_LIST_DIR}/check/model_check_record.cpp
  ${CMAKE_CURRENT_LIST_DIR}/check/model_check_sight.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/dimap.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/envi_header.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/fixed_width.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/form_table.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/forms.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/gdal_xml.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/isd_xml.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/json.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/json_values.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/keyword_list.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/radarsat.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/rpb.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/side_files.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/term_order.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/text.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/vendor_record.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/vendor_text.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/xml.cpp
  ${CMAKE_CURRENT_LIST_DIR}/forms/xml_elements.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ground_branch.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ground_newton.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ground_solution.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ground_state.cpp
  ${CMAKE_CURRENT_LIST_DIR}/image_distance.cpp
  ${CMAKE_CURRENT_LIST_DIR}/image_window.cpp
  ${CMAKE_CURRENT_LIST_DIR}/intersection/image_to_ground.cpp
  ${CMAKE_CURRENT_LIST_DIR}/intersection/intersection_images.cpp
  ${CMAKE_CURRENT_LIST_DIR}/intersection/intersection_newton.cpp
  ${CMAKE_CURRENT_LIST_DIR}/intersection/intersection_solution.cpp
  ${CMAKE_CURRENT_LIST_DIR}/intersection/intersection_solution_array.cpp
  ${CMAKE_CURRENT_LIST_DIR}/intersection/rpc_two_images.cpp
  ${CMAKE_CURRENT_LIST_DIR}/inverse_rpc.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_alternative_search.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_approximation.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_axes.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_boxes.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_compare.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_data.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_fields.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_file.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_inversion.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_model.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_model_xml.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_prepared.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_projection.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_renormalize.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_terms.cpp
  ${CMAKE_CURRENT_LIST_DIR}/solution_flags.cpp
  ${CMAKE_CURRENT_LIST_DIR}/viewing_geometry.cpp
)

# The polynomials are long straight runs of arithmetic beside slow divisions: scheduling before register allocation,
# which GCC leaves out on x86, overlaps them and gains 7 to 8 % (benchmarks/rpc.cpp).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  set_source_files_properties(
    ${CMAKE_CURRENT_LIST_DIR}/ground_newton.cpp
    ${CMAKE_CURRENT_LIST_DIR}/intersection/intersection_newton.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rpc_inversion.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rpc_projection.cpp
    PROPERTIES COMPILE_OPTIONS "-fschedule-insns;-fsched-pressure")
endif()
