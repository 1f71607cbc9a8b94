// The hash of numbers. Groups are aligned to the point before they are folded, so that numbers that are equal get the
// same hash whatever their type, scale and zeros at the end.

#include <climits>

#include "KestroDecimalMagnitude.h"

namespace {

constexpr long long HASH_FACTOR = 131;
/** Groups that go into one hash; the hashes are added. */
constexpr int HASH_GROUPS = 4;
constexpr int MAX_GROUPS = 5;
/** Hash of the lowest 64-bit integer: its top group is left out. Intended. */
constexpr long long HASH_LOWEST_INT64 = 0x1A1F94EB04;

/** Groups least significant first; the top ones may be zero. */
struct HASHGROUPS {
    std::uint32_t m_arGroups[MAX_GROUPS] = {};

    /** Index of the top group that isn't zero, -1 for none. */
    [[nodiscard]] int Top() const {
        int nTop = MAX_GROUPS - 1;
        while (nTop >= 0 && m_arGroups[nTop] == 0)
            --nTop;
        return nTop;
    }

    /** Index of the lowest group that isn't zero; there is one. */
    [[nodiscard]] int Bottom() const {
        int nBottom = 0;
        while (m_arGroups[nBottom] == 0)
            ++nBottom;
        return nBottom;
    }
};

/** The groups of a magnitude times 10^nDigits, up to 8 digits. */
HASHGROUPS MultiplyGroups(UINT128 nMagnitude, int nDigits) {
    HASHGROUPS stGroups;
    const PACKEDGROUPS stPacked = SplitMagnitude(nMagnitude);
    std::memcpy(stGroups.m_arGroups, &stPacked, sizeof(stPacked));
    std::uint64_t ullCarry = 0;
    for (std::uint32_t& uGroup : stGroups.m_arGroups) {
        ullCarry += std::uint64_t{uGroup} * static_cast<std::uint32_t>(KestroPowers10[nDigits]);
        uGroup = static_cast<std::uint32_t>(ullCarry % DECIMAL_GROUP);
        ullCarry /= DECIMAL_GROUP;
    }
    return stGroups;
}

/** A hash of a run of groups, of which every four begin anew; `nPosition` zero groups were there before. */
class CFold {
public:
    explicit CFold(int nPosition) : m_nPosition(nPosition % HASH_GROUPS) {}

    void Add(std::uint32_t uGroup) {
        m_llHash = m_llHash * HASH_FACTOR + uGroup;
        if (++m_nPosition < HASH_GROUPS) return;
        m_llSum += m_llHash;
        m_llHash = 0;
        m_nPosition = 0;
    }

    [[nodiscard]] long long Sum() const { return m_llSum + m_llHash; }

private:
    int m_nPosition;
    long long m_llHash = 0;
    long long m_llSum = 0;
};

/** Whole numbers from the low end, N * 10^nZeros. */
long long HashWhole(UINT128 nMagnitude, int nZeros) {
    const HASHGROUPS stGroups = MultiplyGroups(nMagnitude, nZeros % DECIMAL_GROUP_DIGITS);
    CFold stFold(nZeros / DECIMAL_GROUP_DIGITS);
    const int nTop = stGroups.Top();
    for (int i = 0; i <= nTop; ++i)
        stFold.Add(stGroups.m_arGroups[i]);
    return stFold.Sum();
}

/** Fractions N * 10^-nScale below 1 from the point on, without the zero groups at the end. */
long long HashFraction(UINT128 nMagnitude, int nScale) {
    if (nMagnitude == 0) return 0;
    const int nOver = nScale % DECIMAL_GROUP_DIGITS;
    const HASHGROUPS stGroups = MultiplyGroups(nMagnitude, nOver ? DECIMAL_GROUP_DIGITS - nOver : 0);
    CFold stFold((nScale - CountDigits(nMagnitude)) / DECIMAL_GROUP_DIGITS);
    const int nBottom = stGroups.Bottom();
    for (int i = stGroups.Top(); i >= nBottom; --i)
        stFold.Add(stGroups.m_arGroups[i]);
    return stFold.Sum();
}

long long HashDecimal(const st_VARDATA* lpValue) {
    const UINT128 nMagnitude = LoadMagnitude(lpValue);
    const int nScale = lpValue->m_bScale;
    if (nScale <= 0) return HashWhole(nMagnitude, -nScale);
    if (CountDigits(nMagnitude) <= nScale) return HashFraction(nMagnitude, nScale);
    const UINT128 nWhole = DropDigits(nMagnitude, nScale, false);
    return HashWhole(nWhole, 0) + HashFraction(nMagnitude - nWhole * DECIMAL_POWERS[nScale], nScale);
}

long long HashInteger(long long llValue) {
    if (llValue == LLONG_MIN) return HASH_LOWEST_INT64;
    return HashWhole(static_cast<std::uint64_t>(llValue < 0 ? -llValue : llValue), 0);
}

} // namespace

long long CKestroDecimal::CalcHashFactor(const st_VARDATA* lpValue) {
    switch (lpValue->m_vt) {
        case VT_INT:
            return HashInteger(lpValue->m_nValue);
        case VT_BIGINT:
            return HashInteger(lpValue->m_llValue);
        case VT_DOUBLE: {
            st_VARDATA stDecimal;
            Convert2Decimal(lpValue->m_dblValue, &stDecimal);
            return HashDecimal(&stDecimal);
        }
        case VT_DECIMAL:
            return HashDecimal(lpValue);
        default:
            return 0;
    }
}
