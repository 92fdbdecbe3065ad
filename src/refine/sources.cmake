target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/refinement.cpp
  ${CMAKE_CURRENT_LIST_DIR}/refinement_affine.cpp
  ${CMAKE_CURRENT_LIST_DIR}/refinement_data.cpp
  ${CMAKE_CURRENT_LIST_DIR}/refinement_kinds.cpp
  ${CMAKE_CURRENT_LIST_DIR}/refinement_projective.cpp
  ${CMAKE_CURRENT_LIST_DIR}/refinement_records.cpp
)
