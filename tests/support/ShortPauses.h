// The carousel mount pauses a second after each of up to forty attempts. While a ShortPauses
// lives, the library's pauses of a second or more last a millisecond, so that a test can play all
// forty. The test program is linked with usleep wrapped (see tests/CMakeLists.txt).
#ifndef HBBTV_TESTS_SHORT_PAUSES_H
#define HBBTV_TESTS_SHORT_PAUSES_H

namespace hbbtv_test {

class ShortPauses {
public:
    ShortPauses();
    ~ShortPauses();
    ShortPauses(const ShortPauses&) = delete;
    ShortPauses& operator=(const ShortPauses&) = delete;
};

} // namespace hbbtv_test

#endif
