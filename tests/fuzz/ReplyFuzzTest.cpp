// Runs the fuzzer's checks of a server's replies over its corpus, and over mutations of it that are the same in each
// run.

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>

#include "ScratchDir.h"

extern "C" int FuzzReply(const unsigned char* lpBytes, std::size_t nLen);

namespace {

bool Serve(const std::string& strRecipe) {
    return FuzzReply(reinterpret_cast<const unsigned char*>(strRecipe.data()), strRecipe.size()) != 0;
}

TEST(ReplyFuzz, TheConnectionOutlivesTheCorpusAndItsMutations) {
    std::map<std::string, std::string> arRecipe;
    for (const auto& stEntry : std::filesystem::directory_iterator(KESTRO_FUZZ "/reply"))
        arRecipe.emplace(stEntry.path().stem(), ReadFile(stEntry.path()));
    std::string strFailed;
    std::mt19937 stRandom(4711);
    for (const auto& [strName, strRecipe] : arRecipe) {
        if (!Serve(strRecipe)) strFailed += strName + " ";
        for (int i = 0; i < 100; ++i) {
            std::string strMutated = strRecipe;
            for (unsigned n = 1 + stRandom() % 4; n != 0; --n)
                strMutated[stRandom() % strMutated.size()] = static_cast<char>(stRandom() >> 8);
            Serve(strMutated.substr(0, i % 4 == 0 ? stRandom() % strMutated.size() : std::string::npos));
        }
    }
    EXPECT_EQ(strFailed,
              "command_progress_ends command_progress_throws command_refused foreign login_refused query_cut "
              "query_huge ");
}

} // namespace
