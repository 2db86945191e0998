// Scratch pool: blocks, frames, guards.
#include "talvern.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class BigintPool : public testing::Test {
  protected:
    ~BigintPool() override { VRQ_Free_BIGINT_Pool(pool_); }

    std::vector<VRQ_BIGINT*> take(std::size_t n) {
        std::vector<VRQ_BIGINT*> records;
        while (records.size() < n) records.push_back(VRQ_Get_BIGINT_Pool(pool_));
        return records;
    }

    VRQ_BIGINT_POOL* pool_ = VRQ_New_BIGINT_Pool();
};

TEST_F(BigintPool, BlocksOfEightAreKept) {
    EXPECT_EQ(-1, pool_->depth);
    ASSERT_EQ(0U, VRQ_Start_BIGINT_Pool(pool_));
    const std::vector<VRQ_BIGINT*> first = take(9);
    EXPECT_EQ(16U, pool_->capacity);
    EXPECT_EQ(pool_->first->next, pool_->last);
    EXPECT_EQ(pool_->last, pool_->current);
    EXPECT_EQ(&pool_->first->records[7], first[7]);
    EXPECT_EQ(&pool_->last->records[0], first[8]);
    EXPECT_EQ(4U, first[8]->flags);

    VRQ_Set_BIGINT_Word(first[8], 5);
    uint32_t* const words = first[8]->data;
    ASSERT_EQ(0U, VRQ_Finish_BIGINT_Pool(pool_));
    EXPECT_EQ(0U, pool_->used);
    EXPECT_EQ(5U, VRQ_Get_BIGINT_Word(first[8])) << "values stay until handed out again";
    ASSERT_EQ(0U, VRQ_Start_BIGINT_Pool(pool_));
    EXPECT_EQ(first, take(9));
    EXPECT_EQ(16U, pool_->capacity);
    EXPECT_EQ(0, first[8]->used);
    EXPECT_EQ(words, first[8]->data);
}

TEST_F(BigintPool, FramesNest) {
    std::vector<VRQ_BIGINT*> seen;
    for (std::size_t frame = 0; frame < 12; ++frame) {
        ASSERT_EQ(0U, VRQ_Start_BIGINT_Pool(pool_));
        for (VRQ_BIGINT* record : take(frame % 5)) seen.push_back(record);
        EXPECT_EQ(frame % 5, pool_->frame_counts[frame]);
    }
    EXPECT_EQ(seen.size(), pool_->used);
    for (std::size_t frame = 12; frame-- > 0;) {
        ASSERT_EQ(0U, VRQ_Finish_BIGINT_Pool(pool_));
        seen.resize(seen.size() - frame % 5);
        EXPECT_EQ(seen.size(), pool_->used);
        // what comes next is what this frame had, wherever the block boundary lies
        ASSERT_EQ(0U, VRQ_Start_BIGINT_Pool(pool_));
        VRQ_BIGINT* const next = VRQ_Get_BIGINT_Pool(pool_);
        for (const VRQ_BIGINT* open : seen) EXPECT_NE(open, next);
        ASSERT_EQ(0U, VRQ_Finish_BIGINT_Pool(pool_));
    }
    EXPECT_EQ(-1, pool_->depth);
}

TEST_F(BigintPool, ReleaseCrossesBlocks) {
    ASSERT_EQ(0U, VRQ_Start_BIGINT_Pool(pool_));
    const std::vector<VRQ_BIGINT*> records = take(24);
    for (const uint32_t n : {1U, 7U, 8U, 9U, 16U, 23U, 24U}) {
        ASSERT_EQ(0U, vrq_Release_BIGINT_POOL(pool_, n));
        EXPECT_EQ(24 - n, pool_->used);
        const std::vector<VRQ_BIGINT*> again = take(n);
        EXPECT_TRUE(std::equal(again.begin(), again.end(), records.end() - n)) << n;
    }
    EXPECT_EQ(24U, pool_->capacity);
}

TEST_F(BigintPool, Guards) {
    EXPECT_EQ(nullptr, VRQ_Get_BIGINT_Pool(pool_)) << "outside a frame";
    EXPECT_EQ(0x041C0028U, VRQ_Finish_BIGINT_Pool(pool_));
    EXPECT_EQ(0x041D0028U, vrq_Release_BIGINT_POOL(pool_, 1));
    for (int i = 0; i < 80; ++i) ASSERT_EQ(0U, VRQ_Start_BIGINT_Pool(pool_));
    EXPECT_EQ(0x041B0028U, VRQ_Start_BIGINT_Pool(pool_));
    EXPECT_NE(nullptr, VRQ_Get_BIGINT_Pool(pool_));
    EXPECT_EQ(0x04120057U, VRQ_Mtp_BIGINT(VRQ_Get_BIGINT_Pool(pool_), VRQ_Value_One_BIGINT(),
                                          VRQ_Value_One_BIGINT(), pool_));
    for (int i = 0; i < 80; ++i) ASSERT_EQ(0U, VRQ_Finish_BIGINT_Pool(pool_));
    EXPECT_EQ(0x041C0028U, VRQ_Finish_BIGINT_Pool(pool_));

    ASSERT_EQ(0U, VRQ_Start_BIGINT_Pool(pool_));
    take(3);
    EXPECT_EQ(0U, VRQ_Clear_BIGINT_Pool(pool_));
    EXPECT_EQ(8U, pool_->capacity) << "clearing is for tear-down and resets nothing";
    EXPECT_EQ(nullptr, VRQ_Get_BIGINT_Pool(pool_));
}

TEST_F(BigintPool, Nulls) {
    EXPECT_EQ(1U, vrq_Init_BIGINT_Pool(nullptr));
    EXPECT_EQ(0x041B0049U, VRQ_Start_BIGINT_Pool(nullptr));
    EXPECT_EQ(nullptr, VRQ_Get_BIGINT_Pool(nullptr));
    EXPECT_EQ(0x041C0049U, VRQ_Finish_BIGINT_Pool(nullptr));
    EXPECT_EQ(0x041D0049U, vrq_Release_BIGINT_POOL(nullptr, 0));
    EXPECT_EQ(0x041A0049U, VRQ_Clear_BIGINT_Pool(nullptr));
    EXPECT_EQ(0x04190049U, VRQ_Free_BIGINT_Pool(nullptr));

    VRQ_BIGINT_POOL own;
    EXPECT_EQ(0U, vrq_Init_BIGINT_Pool(&own));
    EXPECT_EQ(-1, own.depth);
    EXPECT_EQ(nullptr, own.first);
}

} // namespace
