// The platform's own reference counting and logging, linked from Debian's Android libraries on
// every target: this is what later layers stand on.
#include <android/log.h>
#include <utils/RefBase.h>

#include <gtest/gtest.h>

namespace {

class Counted : public android::RefBase {
public:
    explicit Counted(int* destroyed) : m_destroyed(destroyed) {}
    ~Counted() override { ++*m_destroyed; }

private:
    int* m_destroyed;
};

} // namespace

TEST(Platform, StrongPointersOwnAndLoggerHookCaptures)
{
    int destroyed = 0;
    {
        android::sp<Counted> first = new Counted(&destroyed);
        android::sp<Counted> second = first;
        first.clear();
        EXPECT_EQ(0, destroyed);
    }
    EXPECT_EQ(1, destroyed);

    static std::string captured;
    __android_log_set_logger([](const __android_logger_data*, const char* message) { captured = message; });
    __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "line %d", 96);
    EXPECT_EQ("line 96", captured);
}
