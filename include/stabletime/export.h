/* Marks the library's public exports. Everything else is hidden. */
#ifndef STABLETIME_EXPORT_H
#define STABLETIME_EXPORT_H

#if defined(_WIN32)
#  if defined(STI_BUILDING_LIBRARY)
     /* The module definition file generated from cmake/exports.list is the
        one list of exports: marking definitions here as well would export
        the lifecycle entries a second time under their decorated names. */
#    define STI_EXPORT
#  else
#    define STI_EXPORT __declspec(dllimport)
#  endif
#else
#  define STI_EXPORT __attribute__((visibility("default")))
#endif

#endif
