// Quotients of 36 significant digits, and exact remainders. A divisor of one half is divided by as the machine does it;
// a longer one in steps of 64 bits with its reciprocal, so that a whole quotient costs one machine division.

#include <algorithm>

#include "KestroDecimalMagnitude.h"

namespace {

/** Powers of ten up to this one fit 64 bits. */
constexpr int STEP_DIGITS = 19;

/** high * 2^64 + low divided by a divisor above high. The compiler has no name for the machine's own division. */
std::uint64_t DivideWord(std::uint64_t ullHigh, std::uint64_t ullLow, std::uint64_t ullDivisor,
                         std::uint64_t& ullRest) {
#if defined(__x86_64__)
    std::uint64_t ullQuotient;
    asm("divq %4" : "=a"(ullQuotient), "=d"(ullRest) : "0"(ullLow), "1"(ullHigh), "rm"(ullDivisor) : "cc");
#else
    const auto ullQuotient = static_cast<std::uint64_t>((UINT128{ullHigh} << 64 | ullLow) / ullDivisor);
    ullRest = ullLow - ullQuotient * ullDivisor;
#endif
    return ullQuotient;
}

/**
 * A divisor shifted up to fill 128 bits, with the reciprocal floor((2^192 - 1) / divisor) - 2^64 (Möller and Granlund,
 * "Improved division by invariant integers", 2011, algorithms 4 and 6). Most of
 * their corrections are random to the processor and masked.
 */
class CDivisor {
public:
    /** Takes any number but 0. */
    explicit CDivisor(UINT128 nDivisor) {
        const auto ullTop = static_cast<std::uint64_t>(nDivisor >> 64);
        m_nShift = ullTop ? std::countl_zero(ullTop) : 64 + std::countl_zero(static_cast<std::uint64_t>(nDivisor));
        m_nDivisor = nDivisor << m_nShift;
        const auto ullHigh = static_cast<std::uint64_t>(m_nDivisor >> 64);
        const auto ullLow = static_cast<std::uint64_t>(m_nDivisor);
        std::uint64_t ullRest;
        std::uint64_t ullReciprocal = DivideWord(~ullHigh, ~std::uint64_t{0}, ullHigh, ullRest);
        ullRest = ullHigh * ullReciprocal + ullLow;
        std::uint64_t ullOnce = MaskOf(ullRest < ullLow), ullTwice = ullOnce & MaskOf(ullRest >= ullHigh);
        ullReciprocal += ullOnce + ullTwice;
        ullRest -= (ullHigh & ullOnce) + (ullHigh & ullTwice);
        const UINT128 nProduct = UINT128{ullReciprocal} * ullLow;
        const auto ullCarry = static_cast<std::uint64_t>(nProduct >> 64);
        ullRest += ullCarry;
        const UINT128 nRest = UINT128{ullRest} << 64 | static_cast<std::uint64_t>(nProduct);
        ullOnce = MaskOf(ullRest < ullCarry);
        ullReciprocal += ullOnce + (ullOnce & MaskOf(nRest >= m_nDivisor));
        m_ullReciprocal = ullReciprocal;
    }

    [[nodiscard]] int Shift() const { return m_nShift; }
    [[nodiscard]] UINT128 Divisor() const { return m_nDivisor; }

    /** Divides nRemainder * 2^64 + ullNext, with nRemainder below the divisor, and leaves the remainder. */
    std::uint64_t Step(UINT128& nRemainder, std::uint64_t ullNext) const {
        const auto ullHigh = static_cast<std::uint64_t>(nRemainder >> 64);
        const UINT128 nEstimate = UINT128{m_ullReciprocal} * ullHigh + nRemainder;
        auto ullQuotient = static_cast<std::uint64_t>(nEstimate >> 64);
        const auto ullDivisorHigh = static_cast<std::uint64_t>(m_nDivisor >> 64);
        const auto ullDivisorLow = static_cast<std::uint64_t>(m_nDivisor);
        const std::uint64_t ullRest = static_cast<std::uint64_t>(nRemainder) - ullQuotient * ullDivisorHigh;
        UINT128 nRest = (UINT128{ullRest} << 64 | ullNext) - UINT128{ullQuotient} * ullDivisorLow - m_nDivisor;
        const std::uint64_t ullBack =
            MaskOf(static_cast<std::uint64_t>(nRest >> 64) >= static_cast<std::uint64_t>(nEstimate));
        ullQuotient += 1 + ullBack;
        nRest += m_nDivisor & (UINT128{ullBack} << 64 | ullBack);
        if (nRest >= m_nDivisor) [[unlikely]] {
            ++ullQuotient;
            nRest -= m_nDivisor;
        }
        nRemainder = nRest;
        return ullQuotient;
    }

private:
    UINT128 m_nDivisor;
    std::uint64_t m_ullReciprocal;
    int m_nShift;
};

/** nNumber * 10^nDigits modulo nDivisor, for any number of digits. */
UINT128 ScaledRemainder(UINT128 nNumber, int nDigits, UINT128 nDivisor) {
    nNumber %= nDivisor;
    if (nDigits == 0) return nNumber;
    const CDivisor stDivisor(nDivisor);
    UINT128 nRemainder = nNumber << stDivisor.Shift();
    while (nDigits > 0) {
        const int nStep = std::min(nDigits, STEP_DIGITS);
        const UINT256 nProduct = MultiplyWide(nRemainder, DECIMAL_POWERS[nStep]);
        nRemainder = nProduct.m_nHigh << 64 | nProduct.m_nLow >> 64;
        stDivisor.Step(nRemainder, static_cast<std::uint64_t>(nProduct.m_nLow));
        nDigits -= nStep;
    }
    return nRemainder >> stDivisor.Shift();
}

/** Magnitude * 10^nDigits / divisor below 10^18, half up; up to 18 digits, and the quotient is below 2^128. */
UINT128 DivideShort(UINT128 nMagnitude, int nDigits, std::uint64_t ullDivisor) {
    const std::uint64_t ullPower = DECIMAL_POWERS64[nDigits];
    const UINT128 nLow = UINT128{static_cast<std::uint64_t>(nMagnitude)} * ullPower;
    const UINT128 nHigh = (nMagnitude >> 64) * ullPower + (nLow >> 64);
    std::uint64_t ullRest;
    const std::uint64_t ullHigh =
        DivideWord(static_cast<std::uint64_t>(nHigh >> 64), static_cast<std::uint64_t>(nHigh), ullDivisor, ullRest);
    const std::uint64_t ullLow = DivideWord(ullRest, static_cast<std::uint64_t>(nLow), ullDivisor, ullRest);
    return (UINT128{ullHigh} << 64 | ullLow) + (ullRest >= ullDivisor - ullRest);
}

/** The same for divisors of 36 digits and 35 or 36 digits more. */
UINT128 DivideLong(UINT128 nMagnitude, int nDigits, UINT128 nDivisor) {
    const CDivisor stDivisor(nDivisor);
    const UINT256 nScaled = MultiplyWide(nMagnitude, DECIMAL_POWERS[nDigits]);
    // 36 digits leave 8 to 11 bits free.
    const int nShift = stDivisor.Shift();
    UINT128 nRemainder = nScaled.m_nHigh << nShift | nScaled.m_nLow >> (128 - nShift);
    const UINT128 nLow = nScaled.m_nLow << nShift;
    const UINT128 nHigh = stDivisor.Step(nRemainder, static_cast<std::uint64_t>(nLow >> 64));
    const UINT128 nQuotient = nHigh << 64 | stDivisor.Step(nRemainder, static_cast<std::uint64_t>(nLow));
    return nQuotient + (nRemainder >= stDivisor.Divisor() - nRemainder);
}

} // namespace

int CKestroDecimal::Div(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, st_VARDATA* lpResult) {
    const UINT128 nFirst = LoadMagnitude(lpFirst), nSecond = LoadMagnitude(lpSecond);
    if (nSecond == 0) {
        StoreNull(lpResult);
        return 0;
    }
    if (nFirst == 0) {
        CopyDecimal(lpResult, lpFirst);
        return 0;
    }
    // Both are brought to 36 digits; their quotient then is between 0.1 and 10, and one more power gives it 36 digits.
    // Half up can't carry to a 37th: a quotient of two such integers is never so close below a power of ten.
    const int nFirstRaise = DECIMAL_MAX_DIGITS - CountDigits(nFirst);
    const int nSecondRaise = DECIMAL_MAX_DIGITS - CountDigits(nSecond);
    const UINT128 nDividend = nFirst * DECIMAL_POWERS[nFirstRaise];
    const UINT128 nDivisor = nSecond * DECIMAL_POWERS[nSecondRaise];
    const int nPower = DECIMAL_MAX_DIGITS - (nDividend >= nDivisor);
    const UINT128 nQuotient = nSecond < DECIMAL_HALF
                                  ? DivideShort(nDividend, nPower - nSecondRaise, static_cast<std::uint64_t>(nSecond))
                                  : DivideLong(nDividend, nPower, nDivisor);
    const bool bNegative = (lpFirst->m_bSign != 0) != (lpSecond->m_bSign != 0);
    const int nScale = lpFirst->m_bScale - lpSecond->m_bScale + nFirstRaise - nSecondRaise + nPower;
    StoreDecimal(lpResult, bNegative, static_cast<signed char>(nScale), nQuotient, DECIMAL_PRECISION_QUOTIENT);
    return 0;
}

int CKestroDecimal::Mod(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, st_VARDATA* lpResult) {
    if (lpFirst->m_bValid == 0) {
        StoreNull(lpResult);
        return ERR_DATA;
    }
    const UINT128 nFirst = LoadMagnitude(lpFirst), nSecond = LoadMagnitude(lpSecond);
    if (nSecond == 0) {
        StoreNull(lpResult);
        return 0;
    }
    const int nFirstScale = lpFirst->m_bScale, nSecondScale = lpSecond->m_bScale;
    UINT128 nRemainder = nFirst;
    if (nFirstScale <= nSecondScale) {
        nRemainder = ScaledRemainder(nFirst, nSecondScale - nFirstScale, nSecond);
    } else if (nFirstScale - nSecondScale + CountDigits(nSecond) <= DECIMAL_MAX_DIGITS) {
        nRemainder = nFirst % (nSecond * DECIMAL_POWERS[nFirstScale - nSecondScale]);
    }
    // A divisor that would need more digits than there are is greater than the dividend.
    StoreDecimal(lpResult, lpFirst->m_bSign != 0, std::max(nFirstScale, nSecondScale), nRemainder);
    return 0;
}
