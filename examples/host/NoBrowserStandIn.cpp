// Without the platform's TV-service interface there is no stand-in browser.
#include "BrowserStandIn.h"

namespace browser_stand_in {

bool available()
{
    return false;
}

bool makeRequests(int&)
{
    return false;
}

} // namespace browser_stand_in
