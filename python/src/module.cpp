// The module `orbmath._core`: the core's calls on arrays. What people use, with its documentation, is the package
// around it.

#include <nanobind/nanobind.h>

#include "frame/zxstd/threads.h"
#include "model.h"

NB_MODULE(_core, module) {
  module.doc() = "The core's calls on contiguous arrays; use the package `orbmath`.";
  module.def("get_threads", &SatCommonUtils::ZxGetThreadsCount);
  module.def("set_threads", &SatCommonUtils::ZxSetThreadsCount, nanobind::arg("count"));
  orbmath_python::DefineModel(module);
  orbmath_python::DefineSolving(module);
  orbmath_python::DefineFitting(module);
  orbmath_python::DefineRefining(module);
  orbmath_python::DefineTerrain(module);
  orbmath_python::DefineUncertainty(module);
  orbmath_python::DefineChecking(module);
  orbmath_python::DefineAdjusting(module);
}
