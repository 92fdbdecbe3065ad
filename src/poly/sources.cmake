target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/interpolation.cpp
  ${CMAKE_CURRENT_LIST_DIR}/linear_normalization.cpp
  ${CMAKE_CURRENT_LIST_DIR}/polynome.cpp
  ${CMAKE_CURRENT_LIST_DIR}/polynome_forms.cpp
)
