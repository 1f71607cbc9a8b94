#pragma once

#include <string_view>

/** A text on the heap, at most `TSTRING_MAX` bytes and a terminator. */
class TString {
public:
    TString() = default;
    ~TString() { delete[] m_pData; }
    TString(const TString&) = delete;
    TString& operator=(const TString&) = delete;

    /** False, with the old text left as it was, if there is no room. The new text may be a part of the old one. */
    [[nodiscard]] bool Set(std::string_view strText);
    /** Never null; empty before the first `Set`. */
    const char* Text() const { return m_pData ? m_pData : ""; }
    std::string_view View() const { return {Text(), static_cast<std::size_t>(m_iDataLen)}; }
    void Clear();

    /** The case of letters doesn't count, and a text that was never set equals an empty one. */
    friend bool operator==(const TString& stFirst, const TString& stSecond) { return stFirst == stSecond.m_pData; }
    friend bool operator==(const TString& stFirst, const char* lpszSecond);

private:
    char* m_pData = nullptr;
    /** Bytes without the terminator. */
    int m_iDataLen = 0;
    /** Bytes on the heap. */
    int m_iTotalLen = 0;
};

constexpr std::size_t TSTRING_MAX = std::size_t{1} << 30;

/** A section's name, or an entry. Whoever holds the first one of a chain frees those behind it. */
struct _KeyValue {
    TString m_iData;
    TString m_iValue;
    _KeyValue* next = nullptr;
};
