// A stand-in for the browser, for trying the host without one: it finds the TV service the
// library publishes and makes three requests through it, as the browser would.
#ifndef EXAMPLE_HOST_BROWSER_STAND_IN_H
#define EXAMPLE_HOST_BROWSER_STAND_IN_H

namespace browser_stand_in {

// False when the example was built without the platform's TV-service interface.
bool available();
// stopVideo, setViewport(false, 100, 50, 640, 360), getParentalControlThreshold; the last one's
// result lands in `threshold`. False when the TV service is not published.
bool makeRequests(int& threshold);

} // namespace browser_stand_in

#endif
