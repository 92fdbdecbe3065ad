target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/checked_access.cpp
  ${CMAKE_CURRENT_LIST_DIR}/kernels_cholesky.cpp
  ${CMAKE_CURRENT_LIST_DIR}/kernels_elimination.cpp
  ${CMAKE_CURRENT_LIST_DIR}/kernels_products.cpp
  ${CMAKE_CURRENT_LIST_DIR}/linear_systems.cpp
  ${CMAKE_CURRENT_LIST_DIR}/matrix.cpp
  ${CMAKE_CURRENT_LIST_DIR}/matrix_products.cpp
  ${CMAKE_CURRENT_LIST_DIR}/matrix_text.cpp
  ${CMAKE_CURRENT_LIST_DIR}/normal_equations.cpp
  ${CMAKE_CURRENT_LIST_DIR}/number_list.cpp
  ${CMAKE_CURRENT_LIST_DIR}/raw_arrays.cpp
  ${CMAKE_CURRENT_LIST_DIR}/raw_products.cpp
  ${CMAKE_CURRENT_LIST_DIR}/raw_solvers.cpp
  ${CMAKE_CURRENT_LIST_DIR}/simd.cpp
  ${CMAKE_CURRENT_LIST_DIR}/vector.cpp
  ${CMAKE_CURRENT_LIST_DIR}/vector_text.cpp
)
