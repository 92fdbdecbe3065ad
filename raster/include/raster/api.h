#pragma once
/// \file
/// \def ORBMATH_RASTER_API
/// Export marking of OrbmathRaster. Everything that does not carry `ORBMATH_RASTER_API` is hidden.

#if defined(_WIN32)
#if defined(ORBMATH_RASTER_BUILD)
#define ORBMATH_RASTER_API __declspec(dllexport)
#else
#define ORBMATH_RASTER_API __declspec(dllimport)
#endif
#else
#define ORBMATH_RASTER_API __attribute__((visibility("default")))
#endif
