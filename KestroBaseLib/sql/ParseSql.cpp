// A compilation's birth and death. What lies between is in the files that share this one's stem.

#include "ParseSql.h"

#include <cstdlib>

CParseSql::CParseSql() : m_pKestroKeywordParse(CKestroKeywordParse::instance()) {}

CParseSql::~CParseSql() {
    std::free(m_arrObjectName);
}
