// The glue library as the television's middleware loads it: opened with dlopen (never linked),
// then its two exported entry points looked up.
#ifndef HBBTV_TOOLS_GLUELIBRARY_H
#define HBBTV_TOOLS_GLUELIBRARY_H

#include <string>

#include "ZR_HbbtvImplInterface.h"

namespace hbbtv_tools {

typedef ZR_HBBTV_Core::ZR_HbbtvImplInterface* (*CreateWrapperFunction)();
typedef void (*DestroyWrapperFunction)(ZR_HBBTV_Core::ZR_HbbtvImplInterface*);

struct GlueLibrary {
    void* handle = nullptr; // stays open until the process ends, as on the television
    CreateWrapperFunction create = nullptr;
    DestroyWrapperFunction destroy = nullptr;
};

// Opens the library at path: "" when both entry points were found, otherwise what went wrong.
std::string loadGlueLibrary(const std::string& path, GlueLibrary& library);

// The library a tool opens unless told otherwise: the installed one, where it lies relative to
// the installed tool; else the one of the build the tool comes from.
std::string defaultGlueLibrary();

} // namespace hbbtv_tools

#endif
