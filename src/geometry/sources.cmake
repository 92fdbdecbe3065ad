target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/polygon.cpp
  ${CMAKE_CURRENT_LIST_DIR}/polygon_intersection.cpp
  ${CMAKE_CURRENT_LIST_DIR}/polygon_mif.cpp
  ${CMAKE_CURRENT_LIST_DIR}/polygon_text.cpp
  ${CMAKE_CURRENT_LIST_DIR}/polygon_xml.cpp
  ${CMAKE_CURRENT_LIST_DIR}/segments.cpp
)
