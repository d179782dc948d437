#include "zolt/play.h"

#include <gtest/gtest.h>

uint32_t HeroModelMemory();

// One library's models don't show in the other's count.
TEST(Names, TwoLibrariesInOneProgram)
{
    zolt::Model* pModel = zolt::Model::CreateModel();
    const uint32_t memory = zolt::g_ModelMemory;
    EXPECT_EQ(HeroModelMemory(), memory);
    EXPECT_NE(memory, 0u);
    Model::DeleteModel(pModel);
    EXPECT_EQ(g_ModelMemory, 0u);
}
