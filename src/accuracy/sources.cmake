target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/ellipse_probability.cpp
  ${CMAKE_CURRENT_LIST_DIR}/error_model.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ground_uncertainty.cpp
  ${CMAKE_CURRENT_LIST_DIR}/image_terms.cpp
  ${CMAKE_CURRENT_LIST_DIR}/intersection_uncertainty.cpp
)
