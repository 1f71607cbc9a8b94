// Runs the fuzzer's checks over its corpus and over mutations of it that are the same in each run. A check that fails
// ends the program and shows the bytes.

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <set>

#include "ScratchDir.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* lpBytes, std::size_t nLen);

namespace {

void Check(const std::string& strBytes) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const unsigned char*>(strBytes.data()), strBytes.size());
}

/** The words of the dictionary, each in quotes on a line of its own. */
std::vector<std::string> Words() {
    std::vector<std::string> strWords;
    std::istringstream stLines(ReadFile(KESTRO_FUZZ "/sql.dict"));
    for (std::string strLine; std::getline(stLines, strLine);)
        if (strLine[0] == '"') strWords.emplace_back(" ").append(strLine, 1, strLine.size() - 2).append(" ");
    return strWords;
}

// A tenth of a second; more under AddressSanitizer, where no compilation uses the memory of another again.
TEST(ParseSqlFuzz, TheCorpusAndItsMutationsCompileToSoundPlansOrErrors) {
    std::set<std::string> arStatement;
    for (const auto& stEntry : std::filesystem::directory_iterator(KESTRO_FUZZ "/corpus"))
        arStatement.insert(ReadFile(stEntry.path()));
    for (const std::string& strStatement : arStatement)
        for (std::size_t nLen = 0; nLen <= strStatement.size(); nLen += 1 + strStatement.size() / 16)
            Check(strStatement.substr(0, strStatement.size() - nLen));

    const std::vector<std::string> arWord = Words(), arCorpus(arStatement.begin(), arStatement.end());
    ASSERT_GT(arCorpus.size(), 80u);
    std::mt19937 stRandom{20240229};
    const auto Below = [&](std::size_t nMax) { return stRandom() % nMax; };
    for (int i = 0; i < 2500; ++i) {
        std::string strText = arCorpus[Below(arCorpus.size())];
        for (std::size_t nTimes = 1 + Below(4); nTimes > 0; --nTimes) {
            const std::size_t nKind = Below(6), nPos = Below(strText.size() + 1), nLen = Below(16);
            const std::string& strOther = arCorpus[Below(arCorpus.size())];
            if (nKind == 0) strText.erase(nPos, nLen);
            if (nKind == 1) strText.insert(nPos, strText.substr(nPos / 2, nLen));
            if (nKind == 2) strText.insert(nPos, 1, static_cast<char>(stRandom()));
            if (nKind == 3) strText.replace(nPos, nLen / 4, arWord[Below(arWord.size())]);
            if (nKind == 4) strText.replace(nPos, std::string::npos, strOther.substr(Below(strOther.size())));
            if (nKind == 5) strText.insert(nPos, strOther.substr(Below(strOther.size()), nLen));
        }
        Check(strText);
    }
}

} // namespace
