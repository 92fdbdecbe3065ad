#pragma once
/// \file
/// \def ORBMATH_API
/// Export marking of the shared library. Everything that does not carry `ORBMATH_API` is hidden.

#if defined(_WIN32) && defined(ORBMATH_STATIC)
#define ORBMATH_API
#elif defined(_WIN32)
#if defined(ORBMATH_BUILD)
#define ORBMATH_API __declspec(dllexport)
#else
#define ORBMATH_API __declspec(dllimport)
#endif
#else
#define ORBMATH_API __attribute__((visibility("default")))
#endif
