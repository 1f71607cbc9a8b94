#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

/** A copy of some bytes in a heap block of exactly their size, so that a sanitizer sees the first byte read beyond. */
template <typename T>
class ExactBytes {
public:
    explicit ExactBytes(std::basic_string_view<T> szBytes)
        : m_lpBytes(new T[szBytes.size()]), m_nSize(static_cast<int>(szBytes.size())) {
        if (m_nSize != 0) std::memcpy(m_lpBytes.get(), szBytes.data(), szBytes.size() * sizeof(T));
    }
    T* Data() const { return m_lpBytes.get(); }
    int Size() const { return m_nSize; }
    std::basic_string_view<T> View() const { return {Data(), static_cast<std::size_t>(m_nSize)}; }
    /** The number that the bytes write. */
    int Number() const { return std::stoi(std::string(View())); }

private:
    std::unique_ptr<T[]> m_lpBytes;
    int m_nSize;
};

using ExactText = ExactBytes<char>;
using ExactWide = ExactBytes<wchar_t>;

/** A text as bytes or as wide characters of the same numbers. */
template <typename T>
std::basic_string<T> TextOf(std::string_view szText) {
    const auto* const lpBytes = reinterpret_cast<const unsigned char*>(szText.data());
    return {lpBytes, lpBytes + szText.size()};
}
