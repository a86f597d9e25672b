#include "platform/memory.h"
#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    // Blocks with undefined contents hold a pattern, so that reliance on them shows.
    velmont::memory_hooks::setFillByte(0xCD);
    return RUN_ALL_TESTS();
}
