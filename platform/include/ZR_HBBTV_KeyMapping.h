// The host platform's key mapping: a native remote-control key code to the browser's key code.
#ifndef ZR_HBBTV_KEYMAPPING_H
#define ZR_HBBTV_KEYMAPPING_H

namespace ZR_HBBTV_KeyMapping {

// The browser's code for a native key, or -1 for a key that HbbTV does not handle.
int zuk2InterfaceKey(int nativeKey);

} // namespace ZR_HBBTV_KeyMapping

#endif
