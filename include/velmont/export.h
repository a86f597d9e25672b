#pragma once

/// \file
/// VELMONT_API marks what the module exports; everything else stays hidden.

#if defined(_WIN32)
#if defined(VELMONT_BUILDING)
#define VELMONT_API __declspec(dllexport)
#elif defined(VELMONT_STATIC)
#define VELMONT_API
#else
#define VELMONT_API __declspec(dllimport)
#endif
#else
#define VELMONT_API __attribute__((visibility("default")))
#endif
