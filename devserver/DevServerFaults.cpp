// Misbehaviour by script: the kinds, the reading of rules, and their effect on a reply.

#include "DevServerFaults.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "DevServerSession.h"

namespace {

constexpr int FRAME_MOST = 10000;
constexpr int DELAY_MOST = 3'600'000;
constexpr std::int64_t BODY_MOST = 1 << 30;

/** A frame in front of a reply: it says that the server is at work. */
TCPFRAMEHEAD PendingFrame(const DEVREPLY& stReply) {
    TCPFRAMEHEAD stHead{};
    stHead.m_bProtocol = FRAME_PROTOCOL;
    stHead.m_bCommand = MF_REPLY_PENDING;
    stHead.m_bToken = stReply.m_stHead.m_bToken;
    return stHead;
}

void AddBefore(DEVREPLY& stReply, const TCPFRAMEHEAD& stHead) {
    stReply.m_strBefore.append(reinterpret_cast<const char*>(&stHead), sizeof stHead);
}

void AddProgress(DEVREPLY& stReply, std::int64_t nTotal, std::int64_t) {
    for (int i = 1; i <= nTotal; ++i) {
        TCPFRAMEHEAD stHead = PendingFrame(stReply);
        stHead.m_bFlag = FRAME_FLAG_PROGRESS;
        std::memcpy(stHead.m_stProgress.m_szText, "progress", 8);
        stHead.m_stProgress.m_nTotal = static_cast<int>(nTotal);
        stHead.m_stProgress.m_nCurrent = i;
        AddBefore(stReply, stHead);
    }
}

void Cut(DEVREPLY& stReply, std::int64_t nSend, REPLYTHEN nThen) {
    stReply.m_nSend = static_cast<std::size_t>(nSend);
    stReply.m_nThen = nThen;
}

// clang-format off
constexpr FAULTKIND FAULTKINDS[] = {
    {"drop", "N", 0, INT64_MAX, FAULT_REPLY,
     [](DEVREPLY& stReply, std::int64_t n, std::int64_t) { Cut(stReply, n, THEN_CLOSE); },
     {"发送应答的前N字节后关闭连接", "send N bytes of the reply and close the link"}},
    {"reset", "N", 0, INT64_MAX, FAULT_REPLY,
     [](DEVREPLY& stReply, std::int64_t n, std::int64_t) { Cut(stReply, n, THEN_RESET); },
     {"发送应答的前N字节后重置连接", "send N bytes of the reply and reset the link"}},
    {"delay", "N", 0, DELAY_MOST, FAULT_REPLY,
     [](DEVREPLY& stReply, std::int64_t n, std::int64_t) { stReply.m_nDelay = static_cast<int>(n); },
     {"应答前等待N毫秒", "wait N milliseconds before the reply"}},
    {"stale", "N", 1, 255, FAULT_REPLY,
     [](DEVREPLY& stReply, std::int64_t n, std::int64_t) { stReply.m_stHead.m_bToken ^= static_cast<BYTE>(n); },
     {"应答令牌与N异或，不再与请求一致", "the reply's token is that of the request XOR N"}},
    {"pending", "N", 0, FRAME_MOST, FAULT_REPLY,
     [](DEVREPLY& stReply, std::int64_t n, std::int64_t) {
         for (; n > 0; --n) AddBefore(stReply, PendingFrame(stReply));
     },
     {"先发送N个“处理中”帧", "N pending frames first"}},
    {"progress", "N", 0, FRAME_MOST, FAULT_REPLY, AddProgress,
     {"先发送N个进度帧", "N progress frames first"}},
    {"fail", "N", INT_MIN, INT_MAX, FAULT_INSTEAD,
     [](DEVREPLY& stReply, std::int64_t n, std::int64_t) { stReply.Fail(static_cast<int>(n)); },
     {"不执行请求，以错误码N应答（如5016、-5）", "refuse the request with code N, for example 5016 or -5"}},
    {"abort", "N", 1, INT_MAX, FAULT_WITHIN, nullptr,
     {"创建文件或加入集群进行到一半时以错误码N失败", "the file or the join begun fails half way with code N"}},
    {"status", "N", 0, 255, FAULT_REPLY,
     [](DEVREPLY& stReply, std::int64_t n, std::int64_t) { stReply.m_stHead.m_bCommand = static_cast<BYTE>(n); },
     {"应答状态改为N", "the reply's status is N"}},
    {"protocol", "N", 0, 255, FAULT_REPLY,
     [](DEVREPLY& stReply, std::int64_t n, std::int64_t) { stReply.m_stHead.m_bProtocol = static_cast<BYTE>(n); },
     {"应答首字节改为N", "the reply's first byte is N"}},
    {"length", "N", 0, UINT_MAX, FAULT_REPLY,
     [](DEVREPLY& stReply, std::int64_t n, std::int64_t) { stReply.m_nBodyLen = n; },
     {"应答头声明正文长度为N，正文不变", "the reply's head announces N bytes of body, whatever follows"}},
    {"short", "N", 1, BODY_MOST, FAULT_REPLY,
     [](DEVREPLY& stReply, std::int64_t n, std::int64_t) {
         const std::int64_t nLen = static_cast<std::int64_t>(sizeof stReply.m_stHead + stReply.m_strBody.size());
         Cut(stReply, std::max<std::int64_t>(nLen - n, 0), THEN_CLOSE);
     },
     {"应答末尾少发N字节后关闭连接", "leave out the reply's last N bytes and close the link"}},
    {"body", "N", 0, BODY_MOST, FAULT_REPLY,
     [](DEVREPLY& stReply, std::int64_t n, std::int64_t) {
         stReply.m_strBody.assign(static_cast<std::size_t>(n), '\xFF');
     },
     {"正文改为N个0xFF字节", "the body is N bytes 0xFF"}},
    {"byte", "N:N", 0, BODY_MOST, FAULT_REPLY,
     [](DEVREPLY& stReply, std::int64_t n, std::int64_t nSecond) {
         stReply.m_arByte.emplace_back(static_cast<std::size_t>(n), static_cast<BYTE>(nSecond));
     },
     {"应答中偏移量（第一个N）处的字节改为第二个N", "the reply's byte at the first number is the second"}},
};
// clang-format on

/** The words of a line, up to a comment. */
std::vector<std::string_view> Words(std::string_view szLine) {
    constexpr const char* BLANKS = " \t\r";
    std::vector<std::string_view> arWord;
    szLine = szLine.substr(0, szLine.find('#'));
    for (std::size_t nPos; (nPos = szLine.find_first_not_of(BLANKS)) != std::string_view::npos;) {
        const std::size_t nEnd = std::min(szLine.find_first_of(BLANKS, nPos), szLine.size());
        arWord.push_back(szLine.substr(nPos, nEnd - nPos));
        szLine.remove_prefix(nEnd);
    }
    return arWord;
}

template <typename T>
bool ReadNumber(std::string_view szText, T& nValue) {
    const auto stResult = std::from_chars(szText.data(), szText.data() + szText.size(), nValue);
    return stResult.ec == std::errc() && stResult.ptr == szText.data() + szText.size();
}

/** "2", "2-4", "2-", "-4". */
bool ReadRange(std::string_view szText, std::uint64_t& nFrom, std::uint64_t& nTo) {
    const std::size_t nDash = szText.find('-');
    if (nDash == std::string_view::npos) return ReadNumber(szText, nFrom) && (nTo = nFrom, nFrom > 0);
    const std::string_view szFrom = szText.substr(0, nDash), szTo = szText.substr(nDash + 1);
    return (szFrom.empty() || ReadNumber(szFrom, nFrom)) && (szTo.empty() || ReadNumber(szTo, nTo)) && nFrom > 0 &&
           nFrom <= nTo;
}

bool ReadStep(std::string_view szWord, FAULTSTEP& stStep) {
    const std::size_t nEqual = std::min(szWord.find('='), szWord.size());
    const auto* const lpKind = std::find_if(std::begin(FAULTKINDS), std::end(FAULTKINDS), [&](const FAULTKIND& stKind) {
        return stKind.m_szName == szWord.substr(0, nEqual);
    });
    if (lpKind == std::end(FAULTKINDS) || nEqual == szWord.size()) return false;
    std::string_view szValue = szWord.substr(nEqual + 1);
    stStep = {lpKind, 0, 0};
    if (std::strcmp(lpKind->m_lpszValue, "N:N") == 0) {
        const std::size_t nColon = szValue.find(':');
        if (nColon == std::string_view::npos || !ReadNumber(szValue.substr(nColon + 1), stStep.m_nSecond) ||
            stStep.m_nSecond < 0 || stStep.m_nSecond > 255)
            return false;
        szValue = szValue.substr(0, nColon);
    }
    return ReadNumber(szValue, stStep.m_nValue) && stStep.m_nValue >= lpKind->m_nLeast &&
           stStep.m_nValue <= lpKind->m_nMost;
}

} // namespace

void DEVREPLY::Fail(int nCode) {
    m_stHead.m_bCommand = MF_REPLY_FAIL;
    m_stHead.m_bFlag = 0;
    m_stHead.m_nValue = nCode;
    std::memset(m_stHead.m_bParam, 0, sizeof m_stHead.m_bParam);
    m_strBody.clear();
}

std::string DEVREPLY::Bytes() const {
    TCPFRAMEHEAD stHead = m_stHead;
    stHead.m_nBodyLen = static_cast<UINT>(m_nBodyLen >= 0 ? m_nBodyLen : static_cast<std::int64_t>(m_strBody.size()));
    std::string strBytes(reinterpret_cast<const char*>(&stHead), sizeof stHead);
    strBytes += m_strBody;
    for (const auto& [nOffset, bByte] : m_arByte)
        if (nOffset < strBytes.size()) strBytes[nOffset] = static_cast<char>(bByte);
    return strBytes;
}

bool FAULT::IsInstead() const {
    return std::any_of(m_arStep.begin(), m_arStep.end(),
                       [](const FAULTSTEP& stStep) { return stStep.m_lpKind->m_nPlace == FAULT_INSTEAD; });
}

int FAULT::CodeWithin() const {
    for (const FAULTSTEP& stStep : m_arStep)
        if (stStep.m_lpKind->m_nPlace == FAULT_WITHIN) return static_cast<int>(stStep.m_nValue);
    return ERR_OK;
}

void FAULT::Apply(DEVREPLY& stReply) const {
    for (const FAULTSTEP& stStep : m_arStep)
        if (stStep.m_lpKind->m_lpfnApply) stStep.m_lpKind->m_lpfnApply(stReply, stStep.m_nValue, stStep.m_nSecond);
}

bool CFaultScript::Add(std::string_view szLine, std::string& strWhy) {
    const std::vector<std::string_view> arWord = Words(szLine);
    if (arWord.empty()) return true;
    RULE stRule;
    const auto Refuse = [&](std::string_view szWord) {
        strWhy = szWord;
        return false;
    };
    const DEVCOMMAND* const lpCommand = FindCommand(arWord[0]);
    if (lpCommand) stRule.m_bCommand = lpCommand->m_bCommand;
    if (!lpCommand && arWord[0] != "any") return Refuse(arWord[0]);
    std::size_t i = 1;
    if (i < arWord.size() && arWord[i].find('=') == std::string_view::npos)
        if (!ReadRange(arWord[i++], stRule.m_nFrom, stRule.m_nTo)) return Refuse(arWord[i - 1]);
    if (i == arWord.size()) return Refuse(szLine);
    for (; i < arWord.size(); ++i)
        if (!ReadStep(arWord[i], stRule.m_stFault.m_arStep.emplace_back())) return Refuse(arWord[i]);
    m_arRule.push_back(std::move(stRule));
    return true;
}

FAULT CFaultScript::Next(BYTE bCommand) {
    const std::lock_guard stLock(m_csRule);
    FAULT stFault;
    for (RULE& stRule : m_arRule) {
        if (stRule.m_bCommand != 0 && stRule.m_bCommand != bCommand) continue;
        ++stRule.m_nSeen;
        if (stRule.m_nSeen < stRule.m_nFrom || stRule.m_nSeen > stRule.m_nTo) continue;
        const std::vector<FAULTSTEP>& arStep = stRule.m_stFault.m_arStep;
        stFault.m_arStep.insert(stFault.m_arStep.end(), arStep.begin(), arStep.end());
    }
    return stFault;
}

std::string CFaultScript::Help() {
    std::string strHelp;
    for (const FAULTKIND& stKind : FAULTKINDS) {
        const std::string strName = std::string("  ").append(stKind.m_szName).append("=").append(stKind.m_lpszValue);
        strHelp.append(strName).append(18 - strName.size(), ' ').append(Text(stKind.m_stHelp)).append("\n");
    }
    return strHelp;
}
