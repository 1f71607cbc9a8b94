// Estimates for a planner: how many rows a comparison lets through, and logarithms. They stand here for the server's
// sake; the compiler weighs nothing.

#include <array>
#include <bit>
#include <cmath>

#include "CommonDataDef.h"

namespace {

/** Comparison operators, as they stand in a plan. */
enum COMPAREOPERATOR : BYTE {
    CMP_FIRST = 7,
    CMP_LIKE = 7,
    CMP_IN = 8,
    CMP_NOT_IN = 9,
    CMP_EXISTS = 10,
    CMP_NOT_EXISTS = 11,
    CMP_NOT_LIKE = 16,
    CMP_EQUAL_NULL = 19,
    CMP_EQUAL = 20,
    CMP_NOT_EQUAL = 21,
    CMP_BETWEEN = 27,
    CMP_PRIOR = 31,
    CMP_PRIOR_LEFT = 32,
    CMP_PRIOR_RIGHT = 33,
    CMP_IS = 34,
    CMP_IS_NOT = 35,
};

/** Of ordering comparisons, and of all that is not known better. */
constexpr double SELECTIVITY_DEFAULT = 1.0 / 3;
constexpr double SELECTIVITY_EQUAL = 0.01;
constexpr double SELECTIVITY_FEW = 0.05;

constexpr std::array<double, 31> SELECTIVITIES = [] {
    std::array<double, 31> arShare{};
    arShare.fill(SELECTIVITY_DEFAULT);
    for (const BYTE b : {CMP_EQUAL, CMP_EQUAL_NULL, CMP_PRIOR, CMP_PRIOR_LEFT, CMP_PRIOR_RIGHT})
        arShare[b - CMP_FIRST] = SELECTIVITY_EQUAL;
    arShare[CMP_NOT_EQUAL - CMP_FIRST] = 1 - SELECTIVITY_EQUAL;
    for (const BYTE b : {CMP_LIKE, CMP_IN, CMP_IS})
        arShare[b - CMP_FIRST] = SELECTIVITY_FEW;
    for (const BYTE b : {CMP_NOT_LIKE, CMP_NOT_IN, CMP_IS_NOT})
        arShare[b - CMP_FIRST] = 1 - SELECTIVITY_FEW;
    for (const BYTE b : {CMP_EXISTS, CMP_NOT_EXISTS})
        arShare[b - CMP_FIRST] = 0.5;
    arShare[CMP_BETWEEN - CMP_FIRST] = SELECTIVITY_DEFAULT * SELECTIVITY_DEFAULT;
    return arShare;
}();

} // namespace

double GetDefalutSelectivity(BYTE bOperator, int) {
    const int nRow = bOperator - CMP_FIRST;
    return nRow >= 0 && nRow < static_cast<int>(SELECTIVITIES.size()) ? SELECTIVITIES[static_cast<std::size_t>(nRow)]
                                                                      : SELECTIVITY_DEFAULT;
}

int KestroLog2(long long llValue) {
    return llValue < 2 ? 0 : std::bit_width(static_cast<unsigned long long>(llValue) - 1);
}

double KestroLog(double dblBase, double dblValue) {
    return std::log(dblValue) / std::log(dblBase);
}
