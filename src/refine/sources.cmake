target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/adjusted_rpc.cpp
  ${CMAKE_CURRENT_LIST_DIR}/adjusted_rpc_fold.cpp
  ${CMAKE_CURRENT_LIST_DIR}/plane_fit.cpp
  ${CMAKE_CURRENT_LIST_DIR}/refinement.cpp
  ${CMAKE_CURRENT_LIST_DIR}/refinement_affine.cpp
  ${CMAKE_CURRENT_LIST_DIR}/refinement_data.cpp
  ${CMAKE_CURRENT_LIST_DIR}/refinement_fit.cpp
  ${CMAKE_CURRENT_LIST_DIR}/refinement_kinds.cpp
  ${CMAKE_CURRENT_LIST_DIR}/refinement_projective.cpp
  ${CMAKE_CURRENT_LIST_DIR}/refinement_records.cpp
  ${CMAKE_CURRENT_LIST_DIR}/robust_plane_fit.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rpc_exchange.cpp
)
