// Module state in each operating mode (a process each), version, mutex wrapper.
#include "talvern.h"

#include <gtest/gtest.h>

namespace {

constexpr uint32_t kTooLate = 0x0D0100F1; // VRQ_ERR_NOT_CHANGE_NONPROVEN

void expect_ready_and_fixed(uint8_t proven) {
    EXPECT_EQ(0U, VRQ_Crypto_Initialize());
    EXPECT_EQ(proven, VRQ_Is_Proven());
    EXPECT_EQ(kTooLate, VRQ_Change_Non_Proven_Mode());
    EXPECT_EQ(proven, VRQ_Is_Proven());
    EXPECT_EQ(0U, VRQ_Crypto_Self_Test());
}

TEST(ProvenModule, StaysProvenOnceInitialised) { expect_ready_and_fixed(1); }

TEST(Module, StaysOpenOnceInitialised) { expect_ready_and_fixed(0); }

TEST(TestModeModule, CountsAsInitialised) {
    EXPECT_EQ(0, VRQ_Is_Proven());
    EXPECT_EQ(kTooLate, VRQ_Change_Non_Proven_Mode());
    EXPECT_EQ(0U, VRQ_Crypto_Initialize());
}

TEST(Module, Version) {
    EXPECT_STREQ("5.2.0", VRQ_Get_Crypto_Version());
    EXPECT_EQ(nullptr, GetLibraryFileName());
}

TEST(Module, Locks) {
    EXPECT_EQ(0x1D020049U, vrq_Wait_Lock(nullptr));
    EXPECT_EQ(0x1D030049U, vrq_Release_Lock(nullptr));
    EXPECT_EQ(0U, vrq_Clear_Lock(nullptr));

    pthread_mutex_t mutex;
    ASSERT_EQ(0U, vrq_Init_Lock(&mutex));
    EXPECT_EQ(0U, vrq_Wait_Lock(&mutex));
    EXPECT_EQ(0x1D040061U, vrq_Clear_Lock(&mutex)) << "a held mutex cannot be destroyed";
    EXPECT_EQ(0U, vrq_Release_Lock(&mutex));
    EXPECT_EQ(0U, vrq_Clear_Lock(&mutex));
}

TEST(Module, LockFailuresOfThePlatform) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_t mutex;
    pthread_mutex_init(&mutex, &attributes);

    EXPECT_EQ(0x1D030061U, vrq_Release_Lock(&mutex)) << "not held";
    ASSERT_EQ(0U, vrq_Wait_Lock(&mutex));
    EXPECT_EQ(0x1D020061U, vrq_Wait_Lock(&mutex)) << "held by this thread";
    EXPECT_EQ(0U, vrq_Release_Lock(&mutex));
    EXPECT_EQ(0U, vrq_Clear_Lock(&mutex));
    pthread_mutexattr_destroy(&attributes);
}

} // namespace
