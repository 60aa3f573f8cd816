// Test entry point. "/hbbtv" and "/hbbtvChannelList" are names global to the machine, and ctest
// runs tests in parallel, so each test process gets names of its own through HBBTV_SHM_SUFFIX,
// and removes them when it ends, also those that a death-test child left behind by aborting.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "support/AssertDeath.h"

namespace {

class SharedMemoryCleanup : public testing::Environment {
public:
    void TearDown() override
    {
        shm_unlink(("/hbbtv" + hbbtv_test::shmSuffix()).c_str());
        shm_unlink(("/hbbtvChannelList" + hbbtv_test::shmSuffix()).c_str());
    }
};

} // namespace

int main(int argc, char** argv)
{
    const std::string suffix = ".test" + std::to_string(getpid());
    setenv("HBBTV_SHM_SUFFIX", suffix.c_str(), 1);
    hbbtv_test::setShmSuffix(suffix);

    testing::InitGoogleTest(&argc, argv);
    testing::AddGlobalTestEnvironment(new SharedMemoryCleanup);
    return RUN_ALL_TESTS();
}
