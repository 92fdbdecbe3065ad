target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/orientation.cpp
  ${CMAKE_CURRENT_LIST_DIR}/polygon.cpp
  ${CMAKE_CURRENT_LIST_DIR}/polygon_text.cpp
)
