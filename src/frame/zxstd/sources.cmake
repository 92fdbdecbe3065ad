target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/debug_output.cpp
  ${CMAKE_CURRENT_LIST_DIR}/message.cpp
  ${CMAKE_CURRENT_LIST_DIR}/number_text.cpp
  ${CMAKE_CURRENT_LIST_DIR}/path.cpp
  ${CMAKE_CURRENT_LIST_DIR}/progress.cpp
  ${CMAKE_CURRENT_LIST_DIR}/stream.cpp
  ${CMAKE_CURRENT_LIST_DIR}/text.cpp
  ${CMAKE_CURRENT_LIST_DIR}/threads.cpp
  ${CMAKE_CURRENT_LIST_DIR}/xini_document.cpp
  ${CMAKE_CURRENT_LIST_DIR}/xini_layout.cpp
  ${CMAKE_CURRENT_LIST_DIR}/xini_reader.cpp
  ${CMAKE_CURRENT_LIST_DIR}/xini_writer.cpp
  ${CMAKE_CURRENT_LIST_DIR}/xml_lines.cpp
  ${CMAKE_CURRENT_LIST_DIR}/xml_text.cpp
)
