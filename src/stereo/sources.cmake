target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/acquisition_time.cpp
  ${CMAKE_CURRENT_LIST_DIR}/pair_geometry.cpp
  ${CMAKE_CURRENT_LIST_DIR}/pair_search.cpp
  ${CMAKE_CURRENT_LIST_DIR}/seen_image.cpp
  ${CMAKE_CURRENT_LIST_DIR}/stereopairs_by_overlap.cpp
)
