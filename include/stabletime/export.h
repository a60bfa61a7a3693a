/* Marks the library's designed exports. Everything else is hidden. */
#ifndef STABLETIME_EXPORT_H
#define STABLETIME_EXPORT_H

#if defined(_WIN32)
#  if defined(STI_BUILDING_LIBRARY)
#    define STI_EXPORT __declspec(dllexport)
#  else
#    define STI_EXPORT __declspec(dllimport)
#  endif
#else
#  define STI_EXPORT __attribute__((visibility("default")))
#endif

#endif
