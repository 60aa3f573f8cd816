// The virtual-table position of a virtual member function, read from its member pointer: in the
// Itanium C++ ABI the pointer holds the slot's byte offset plus one; in the ARM C++ ABI it holds
// the offset itself and marks virtual functions in the adjustment word instead.
#ifndef HBBTV_TESTS_SLOT_INDEX_H
#define HBBTV_TESTS_SLOT_INDEX_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace hbbtv_test {

template <typename MemberFunction>
long slotIndex(MemberFunction member)
{
    static_assert(sizeof(MemberFunction) == 2 * sizeof(void*), "a member function pointer is two words");
    uintptr_t words[2];
    memcpy(words, &member, sizeof(words));
#if defined(__arm__) || defined(__aarch64__)
    return (words[1] & 1) ? static_cast<long>(words[0] / sizeof(void*)) : -1;
#else
    return (words[0] & 1) ? static_cast<long>((words[0] - 1) / sizeof(void*)) : -1;
#endif
}

} // namespace hbbtv_test

#endif
