target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/affine_2d.cpp
  ${CMAKE_CURRENT_LIST_DIR}/affine_2d_registration.cpp
  ${CMAKE_CURRENT_LIST_DIR}/first_order_rational.cpp
  ${CMAKE_CURRENT_LIST_DIR}/projective_2d.cpp
  ${CMAKE_CURRENT_LIST_DIR}/seven_params.cpp
  ${CMAKE_CURRENT_LIST_DIR}/seven_params_fit.cpp
  ${CMAKE_CURRENT_LIST_DIR}/seven_params_transform.cpp
  ${CMAKE_CURRENT_LIST_DIR}/tie_point.cpp
)
