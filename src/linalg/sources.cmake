target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/simd.cpp
)
