// Development hooks of the key mapping: replace the table for a test, and restore it.
#ifndef ZR_HBBTV_KEYMAPPING_DEV_H
#define ZR_HBBTV_KEYMAPPING_DEV_H

#include <map>

namespace ZR_HBBTV_KeyMapping {

void setKeyTableForTesting(const std::map<int, int>& table);
void resetKeyTable();

} // namespace ZR_HBBTV_KeyMapping

#endif
