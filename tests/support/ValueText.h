#pragma once

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "KestroBufferPool.h"
#include "KestroDecimal.h"
#include "VarData.h"

/**
 * A value from its text: "int 5", "big 5", "dbl 0.5", "dt 45322.25", "dec 1.50", "txt abc", "bytes AB" (those of a
 * hexadecimal literal), "hex 0x41", "blob xyz", "date 2024-01-31", "time -1d 06:00:00", "null", "empty", "any",
 * "unknown". Text and bytes lie in a block of exactly their length, which the value may own.
 */
class ValueSource {
public:
    explicit ValueSource(const std::string& strText, bool bOwned = false, bool bTerminated = true) {
        const std::string strType = strText.substr(0, strText.find(' '));
        const std::string str = strType == strText ? "" : strText.substr(strType.size() + 1);
        st_VARDATA& st = m_stValue;
        if (strType == "null") st.SetNull();
        if (strType == "any" || strType == "unknown") st.m_vt = strType == "any" ? VT_ANY : VT_UNKNOWN;
        if (strType == "int") st.SetData(std::stoi(str));
        if (strType == "big") st.SetData(std::stoll(str));
        if (strType == "dbl" || strType == "dt") st.SetData(std::stod(str), strType == "dt" ? VT_DATETIME : VT_DOUBLE);
        if (strType == "dec") (void)CKestroDecimal::Convert2Decimal(str.c_str(), &st);
        int n[4] = {};
        if (strType == "date" && sscanf(str.c_str(), "%d-%d-%d", n, n + 1, n + 2) == 3)
            st.SetData(KESTRODATE{static_cast<BYTE>(n[2]), static_cast<BYTE>(n[1]), static_cast<std::uint16_t>(n[0])});
        if (strType == "time" && sscanf(str.c_str(), "%dd %d:%d:%d", n, n + 1, n + 2, n + 3) == 4)
            st.SetData(KESTROTIME{static_cast<BYTE>(n[3]), static_cast<BYTE>(n[2]), static_cast<BYTE>(n[1]),
                                  static_cast<signed char>(n[0])});
        if (strType == "txt" || strType == "bytes" || strType == "hex" || strType == "blob")
            SetText(strType, str, bOwned, bTerminated);
    }
    st_VARDATA m_stValue;

private:
    void SetText(const std::string& strType, const std::string& str, bool bOwned, bool bTerminated) {
        const std::size_t nLen = str.size() + (strType != "blob" && bTerminated ? 1 : 0);
        m_lpText.reset(new char[nLen]);
        memcpy(m_lpText.get(), str.c_str(), nLen);
        m_stValue.SetData(m_lpText.get(), static_cast<int>(nLen), strType == "bytes" ? 255 : 0);
        m_stValue.m_vt = strType == "hex" ? VT_HEXSTR : strType == "blob" ? VT_BLOB : VT_VARCHAR;
        if (!bOwned) return;
        m_stValue.m_bAutoRelease = 1;
        (void)m_lpText.release();
    }
    std::unique_ptr<char[]> m_lpText;
};

template <typename... ARGS>
std::string PrintText(const char* lpszFormat, ARGS... args) {
    char szText[512];
    snprintf(szText, sizeof szText, lpszFormat, args...);
    return szText;
}

/** The text of a value, in the same form. */
inline std::string ShowValue(const st_VARDATA& st) {
    const auto Text = [&st](int nLen) { return std::string(st.m_lpszValue, static_cast<std::size_t>(nLen)); };
    const BYTE t = st.m_vt;
    if (t == VT_INT) return PrintText("int %d", int{st.m_nValue});
    if (t == VT_BIGINT) return PrintText("big %lld", static_cast<long long>(st.m_llValue));
    if (t == VT_DOUBLE || t == VT_DATETIME) return PrintText(t == VT_DOUBLE ? "dbl %.15g" : "dt %.15g", +st.m_dblValue);
    if (t == VT_BLOB) return "blob " + Text(st.m_nStrLen);
    if (t == VT_HEXSTR) return "hex " + Text(st.m_nStrLen - 1);
    const KESTRODATE& d = st.m_stDate;
    if (t == VT_DATE) return PrintText("date %04d-%02d-%02d", d.m_sYear, d.m_bMonth, d.m_bDay);
    const KESTROTIME& n = st.m_stTime;
    if (t == VT_TIME) return PrintText("time %dd %02d:%02d:%02d", n.m_nDay, n.m_bHour, n.m_bMintue, n.m_bSecond);
    if (t == VT_DECIMAL) {
        char szDecimal[DECIMAL_TEXT_SIZE];
        CKestroDecimal::PrintDecimal(&st, szDecimal);
        return std::string("dec ") + szDecimal;
    }
    if (t == VT_VARCHAR) {
        if (st.m_nStrLen < 1 || st.m_lpszValue[st.m_nStrLen - 1] != 0) return "txt without an end";
        return (st.m_bCharset == 255 ? "bytes " : "txt ") + Text(st.m_nStrLen - 1);
    }
    return t == VT_NULL ? "null" : t == VT_EMPTY ? "empty" : t == VT_ANY ? "any" : t == VT_UNKNOWN ? "unknown" : "?";
}

/** A pool of small pages, as values take their memory from. */
struct Pool : CKestroBufferPool {
    Pool() { SetPoolPageSize(4096); }
};
