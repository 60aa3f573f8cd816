#include "GlueLibrary.h"

#include <dlfcn.h>
#include <unistd.h>

#include "CommandLine.h"

namespace hbbtv_tools {

std::string loadGlueLibrary(const std::string& path, GlueLibrary& library)
{
    library = GlueLibrary();
    library.handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library.handle == nullptr) {
        return std::string("dlopen: ") + dlerror();
    }
    library.create = reinterpret_cast<CreateWrapperFunction>(dlsym(library.handle, "CreateHbbtvWrapper"));
    library.destroy = reinterpret_cast<DestroyWrapperFunction>(dlsym(library.handle, "DestroyHbbtvWrapper"));
    if (library.create == nullptr || library.destroy == nullptr) {
        return path + " does not export CreateHbbtvWrapper and DestroyHbbtvWrapper";
    }
    return "";
}

// A path, not a name for the loader to look up: a sanitizer's dlopen would look it up on the
// sanitizer's run path.
std::string defaultGlueLibrary()
{
    const std::string executable = ownExecutable();
    if (!executable.empty()) {
        const std::string installed = executable.substr(0, executable.rfind('/') + 1) + HBBTV_GLUE_INSTALLED_LIBRARY;
        if (access(installed.c_str(), F_OK) == 0) {
            return installed;
        }
    }
    return HBBTV_GLUE_BUILD_LIBRARY;
}

} // namespace hbbtv_tools
