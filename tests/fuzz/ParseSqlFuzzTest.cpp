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

std::vector<std::string> Corpus() {
    std::set<std::filesystem::path> setPath;
    for (const auto& stEntry : std::filesystem::directory_iterator(KESTRO_FUZZ "/corpus"))
        setPath.insert(stEntry.path());
    std::vector<std::string> strStatements;
    for (const auto& stPath : setPath)
        strStatements.push_back(ReadFile(stPath));
    return strStatements;
}

/** The words of the dictionary, each in quotes on a line of its own. */
std::vector<std::string> Words() {
    std::vector<std::string> strWords;
    std::istringstream stLines(ReadFile(KESTRO_FUZZ "/sql.dict"));
    for (std::string strLine; std::getline(stLines, strLine);)
        if (strLine[0] == '"') strWords.emplace_back(" ").append(strLine, 1, strLine.size() - 2).append(" ");
    return strWords;
}

class CMutator {
public:
    std::string Mutate(std::string strText) {
        for (std::size_t nTimes = 1 + Below(4); nTimes > 0; --nTimes)
            MutateOnce(strText);
        return strText;
    }
    std::size_t Below(std::size_t nMax) { return m_stRandom() % nMax; }

    const std::vector<std::string> m_strCorpus = Corpus();

private:
    void MutateOnce(std::string& strText) {
        const std::size_t nPos = Below(strText.size() + 1), nLen = Below(16);
        const std::string& strOther = m_strCorpus[Below(m_strCorpus.size())];
        const std::size_t nKind = Below(6);
        if (nKind == 0) strText.erase(nPos, nLen);
        if (nKind == 1) strText.insert(nPos, strText.substr(nPos / 2, nLen));
        if (nKind == 2) strText.insert(nPos, 1, static_cast<char>(m_stRandom()));
        if (nKind == 3) strText.replace(nPos, nLen / 4, m_strWords[Below(m_strWords.size())]);
        if (nKind == 4) strText.replace(nPos, std::string::npos, strOther.substr(Below(strOther.size())));
        if (nKind == 5) strText.insert(nPos, strOther.substr(Below(strOther.size()), nLen));
    }

    std::mt19937 m_stRandom{20240229};
    const std::vector<std::string> m_strWords = Words();
};

TEST(ParseSqlFuzz, TheCorpusCompilesToSoundPlansOrErrors) {
    CMutator stMutator;
    ASSERT_GT(stMutator.m_strCorpus.size(), 80u);
    for (const std::string& strStatement : stMutator.m_strCorpus)
        for (std::size_t nLen = 0; nLen <= strStatement.size(); nLen += 1 + strStatement.size() / 16)
            Check(strStatement.substr(0, strStatement.size() - nLen));
}

// A tenth of a second; more under AddressSanitizer, where no compilation uses the memory of another again.
TEST(ParseSqlFuzz, MutationsOfTheCorpusCompileToSoundPlansOrErrors) {
    CMutator stMutator;
    for (int i = 0; i < 2500; ++i)
        Check(stMutator.Mutate(stMutator.m_strCorpus[stMutator.Below(stMutator.m_strCorpus.size())]));
}

} // namespace
