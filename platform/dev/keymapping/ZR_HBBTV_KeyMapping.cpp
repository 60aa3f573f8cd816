// Development key mapping: Linux input key codes of a common remote control to the key codes
// that HbbTV applications see (the DOM VK_ values of the OIPF and HbbTV key sets).
#include "ZR_HBBTV_KeyMapping.h"

#include <mutex>

#include "ZR_HBBTV_KeyMapping_dev.h"

namespace ZR_HBBTV_KeyMapping {

namespace {

std::map<int, int> defaultTable()
{
    return {
        {398, 403}, {399, 404}, {400, 405}, {401, 406}, // red, green, yellow, blue
        {103, 38},  {108, 40},  {105, 37},  {106, 39},  // up, down, left, right
        {28, 13},   {352, 13},  {158, 461},             // enter, ok, back
        {11, 48},   {2, 49},    {3, 50},    {4, 51},    {5, 52}, // digits 0-4
        {6, 53},    {7, 54},    {8, 55},    {9, 56},    {10, 57}, // digits 5-9
        {207, 415}, {119, 19},  {128, 413}, {208, 417}, {168, 412}, // play, pause, stop, ff, rewind
        {388, 459},                                     // teletext
    };
}

std::mutex g_mutex;
std::map<int, int>& table()
{
    static std::map<int, int>* current = new std::map<int, int>(defaultTable());
    return *current;
}

} // namespace

int zuk2InterfaceKey(int nativeKey)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    const std::map<int, int>::const_iterator found = table().find(nativeKey);
    return found == table().end() ? -1 : found->second;
}

void setKeyTableForTesting(const std::map<int, int>& keys)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    table() = keys;
}

void resetKeyTable()
{
    std::lock_guard<std::mutex> lock(g_mutex);
    table() = defaultTable();
}

} // namespace ZR_HBBTV_KeyMapping
