// The entry point of a host plugin for hbbtv-host-check.
//
// A vendor builds its Hbbtv_TVServer implementation as a shared object that exports one C
// function, HbbtvHostCheck_CreateHost. The checker loads the glue library as the television does,
// loads the plugin, calls the entry point once and hands the host it returns to the library's
// init. The host reports completion of every backend request through context->wrapper, exactly as
// it does towards the wrapper of CreateHbbtvWrapper on the television.
#ifndef HBBTV_HOST_CHECK_PLUGIN_H
#define HBBTV_HOST_CHECK_PLUGIN_H

#include "ZR_HbbtvImplInterface.h"

struct HbbtvHostCheckContext {
    // The wrapper as the host sees it: call notifyHbbtvServiceRequestFinished (or any other
    // wrapper operation) on it. It stays valid for the whole process; calls after deinit are
    // recorded as findings.
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper;
    // Writes one line to the checker's output.
    void (*log)(const char* line);
    // The text given with --host-arg, "" without.
    const char* argument;
    // Set by the plugin when the checker should destroy its host at the end, after deinit: the
    // function must stop the host's threads. Left null, the host is never destroyed (as the
    // library never destroys it either).
    void (*destroyHost)(Hbbtv_TVServer* host);
};

// The name the checker looks up with dlsym.
inline constexpr char kHbbtvHostCheckEntryPoint[] = "HbbtvHostCheck_CreateHost";

typedef Hbbtv_TVServer* (*HbbtvHostCheckCreateHostFunction)(HbbtvHostCheckContext* context);

// Returns the host, or null when it cannot be made (the checker then stops with status 2).
extern "C" __attribute__((visibility("default"))) Hbbtv_TVServer* HbbtvHostCheck_CreateHost(
    HbbtvHostCheckContext* context);

#endif
