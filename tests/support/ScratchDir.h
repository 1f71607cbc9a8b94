#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

/** A fresh directory that goes with the object, contents and all. Its path ends without a slash. */
class ScratchDir {
public:
    ScratchDir() {
        std::string strPattern = (std::filesystem::temp_directory_path() / "kestro-XXXXXX").string();
        if (!mkdtemp(strPattern.data())) throw std::runtime_error("no scratch directory");
        m_path = strPattern;
    }
    ~ScratchDir() {
        std::error_code stIgnored;
        std::filesystem::remove_all(m_path, stIgnored);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    std::string Path(const std::string& strName = "") const {
        return strName.empty() ? m_path.string() : (m_path / strName).string();
    }

private:
    std::filesystem::path m_path;
};

/** Writes a whole file, bytes as they stand. */
inline void WriteFile(const std::string& strPath, const std::string& strBytes) {
    std::ofstream(strPath, std::ios::binary) << strBytes;
}

/** Reads a whole file; an absent one reads as empty. */
inline std::string ReadFile(const std::string& strPath) {
    std::ostringstream stBytes;
    stBytes << std::ifstream(strPath, std::ios::binary).rdbuf();
    return std::move(stBytes).str();
}
