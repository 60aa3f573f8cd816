// The stand-in browser, built when the platform's binder and TV-service interface are at hand.
#include "BrowserStandIn.h"

#include <binder/IServiceManager.h>
#include <utils/String16.h>

#include <ITVService.h>

namespace browser_stand_in {

bool available()
{
    return true;
}

bool makeRequests(int& threshold)
{
    const android::sp<android::IBinder> binder
        = android::defaultServiceManager()->checkService(android::String16("kalto.TVService"));
    if (binder == nullptr) {
        return false;
    }
    const android::sp<ITVService> service = ITVService::asInterface(binder);
    if (service == nullptr) {
        return false;
    }
    service->stopVideo();
    service->setViewport(false, 100, 50, 640, 360);
    threshold = service->getParentalControlThreshold();
    return true;
}

} // namespace browser_stand_in
