#include "fuzz/targets.h"
#include "tests/engine/model/src/abcbytes.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

// What the fuzzers found once, and a start for each. A broken promise ends the process; the last file named is the one
// that breaks it.
TEST(Corpus, EveryFindingStaysFixed)
{
    for (const FuzzTarget& target : g_FuzzTargets)
    {
        const std::filesystem::path folder = std::filesystem::path(ZOLT_CORPUS) / target.m_pName;
        std::error_code none; // a target without findings has no folder
        for (const auto& entry : std::filesystem::directory_iterator(folder, none))
        {
            printf("%s\n", entry.path().filename().c_str());
            fflush(stdout);
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
            target.m_pRun({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
        }
    }
}

TEST(Corpus, RandomModelsOfAllVersions)
{
    for (uint32_t seed = 0; seed < 60; ++seed)
    {
        const std::string bytes = abc::Random(seed).Model().Write();
        FuzzModel({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
        FuzzBlock({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
    }
}
