// Exact decimals in groups of nine digits.

#include "VarData.h"
