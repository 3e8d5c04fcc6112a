#include "core/HostCall.h"
#include "support/TestPlatform.h"

#include <chrono>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

namespace maravel {

TEST(HostCall, EveryExceptionBecomesAText)
{
    test::PrivateMachine machine;
    InitLog();
    const std::pair<void (*)(), const char*> rows[] = {
        {[] { throw std::bad_alloc(); }, "Work: ERROR. Out of memory."},
        {[] { throw std::length_error("too long"); }, "Work: ERROR. Unexpected failure: too long"},
        {[] { throw 5; }, "Work: ERROR. Unexpected failure."},
    };
    for (const auto& [fail, expected] : rows) {
        char text[MARAVEL_TEXT_SIZE] = "";
        EXPECT_EQ(GuardedCall(7, "Work", text,
                              [fail]() -> std::int32_t {
                                  fail();
                                  return MARAVEL_SUCCESS;
                              }),
                  MARAVEL_FAILURE);
        EXPECT_STREQ(text, expected);
    }
    CloseLog();
}

TEST(Mutex, KnowsItsHolderAfterAWait)
{
    Mutex mutex;
    bool isHeld = false;
    mutex.lock();
    std::thread other([&] {
        mutex.lock();
        isHeld = mutex.IsHeldHere();
        mutex.unlock();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // longer than a lock turns before it sleeps
    EXPECT_TRUE(mutex.IsHeldHere());
    mutex.unlock();
    other.join();
    EXPECT_TRUE(isHeld);
    EXPECT_FALSE(mutex.IsHeldHere());
}

} // namespace maravel
