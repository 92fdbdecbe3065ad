target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/stereopairs_by_overlap.cpp
)
