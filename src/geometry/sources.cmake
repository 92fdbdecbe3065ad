target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/attitude.cpp
  ${CMAKE_CURRENT_LIST_DIR}/attitude_forms.cpp
  ${CMAKE_CURRENT_LIST_DIR}/matrix3.cpp
  ${CMAKE_CURRENT_LIST_DIR}/plane.cpp
  ${CMAKE_CURRENT_LIST_DIR}/polygon.cpp
  ${CMAKE_CURRENT_LIST_DIR}/polygon_intersection.cpp
  ${CMAKE_CURRENT_LIST_DIR}/polygon_mif.cpp
  ${CMAKE_CURRENT_LIST_DIR}/polygon_text.cpp
  ${CMAKE_CURRENT_LIST_DIR}/polygon_xml.cpp
  ${CMAKE_CURRENT_LIST_DIR}/quaternion.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ray.cpp
  ${CMAKE_CURRENT_LIST_DIR}/rotation.cpp
  ${CMAKE_CURRENT_LIST_DIR}/segments.cpp
  ${CMAKE_CURRENT_LIST_DIR}/text_scan.cpp
)
