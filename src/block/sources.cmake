# Only the ordering of Eigen, a library of headers, is used; nothing of it shows outside.
find_package(Eigen3 3.3 REQUIRED NO_MODULE)
get_target_property(orbmath_eigen_includes Eigen3::Eigen INTERFACE_INCLUDE_DIRECTORIES)
target_include_directories(Orbmath SYSTEM PRIVATE ${orbmath_eigen_includes})
target_sources(Orbmath PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/block_adjustment.cpp
  ${CMAKE_CURRENT_LIST_DIR}/block_factor.cpp
  ${CMAKE_CURRENT_LIST_DIR}/block_models.cpp
  ${CMAKE_CURRENT_LIST_DIR}/block_names.cpp
  ${CMAKE_CURRENT_LIST_DIR}/choice.cpp
  ${CMAKE_CURRENT_LIST_DIR}/consensus.cpp
  ${CMAKE_CURRENT_LIST_DIR}/equations.cpp
  ${CMAKE_CURRENT_LIST_DIR}/factor_pattern.cpp
  ${CMAKE_CURRENT_LIST_DIR}/inverse_of_factor.cpp
  ${CMAKE_CURRENT_LIST_DIR}/least_squares.cpp
  ${CMAKE_CURRENT_LIST_DIR}/network.cpp
  ${CMAKE_CURRENT_LIST_DIR}/pattern.cpp
  ${CMAKE_CURRENT_LIST_DIR}/precision.cpp
  ${CMAKE_CURRENT_LIST_DIR}/reduced_system.cpp
  ${CMAKE_CURRENT_LIST_DIR}/report.cpp
  ${CMAKE_CURRENT_LIST_DIR}/report_precision.cpp
  ${CMAKE_CURRENT_LIST_DIR}/robust.cpp
  ${CMAKE_CURRENT_LIST_DIR}/snooping.cpp
  ${CMAKE_CURRENT_LIST_DIR}/starts.cpp
)
