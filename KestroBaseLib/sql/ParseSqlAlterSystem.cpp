// ALTER SYSTEM:
//
//     ADD, DROP, MODIFY kind-of-file 'path' TABLESPACE 'name' size, MODIFY also TO 'new path'
//     SET name = value          KILL SESSION id          ACTIVATE STANDBY
//     STORAGE 'path' MOTHED n [BUFFERSIZE m]
//
// Any other word is the server's to know.

#include <cstring>

#include "CommonDataDef.h"
#include "CommonDataDefNumber.h"
#include "CommonDataDefToNumber.h"
#include "SqlWordReader.h"

/** A verb on files. */
struct CParseSql::ALTERFILEVERB {
    int m_nKeyword;
    BYTE m_bAction;
    char (FILEINFOBSON::*m_pPath)[256]; // where the path behind the kind goes
    bool m_bSize;                       // a word that is no keyword is the size; otherwise it's an error
    bool m_bModify;                     // knows system files and TO, and marks a tablespace
};

namespace {

struct FILEKIND {
    int m_nKeyword;
    BYTE m_bFileType;
    bool m_bModifyOnly;
};

constexpr FILEKIND FILEKINDS[] = {
    {KW_SYSFILE, FILE_SYSTEM, true}, {KW_DATAFILE, FILE_DATA, false},   {KW_TREEFILE, FILE_TREE, false},
    {KW_KVFILE, FILE_KV, false},     {KW_TABLEFILE, FILE_TABLE, false}, {KW_INDEXFILE, FILE_INDEX, false},
};

BYTE FileTypeOf(int nKeyword, bool bModify) {
    for (const FILEKIND& stKind : FILEKINDS)
        if (stKind.m_nKeyword == nKeyword && (bModify || !stKind.m_bModifyOnly)) return stKind.m_bFileType;
    return 0;
}

} // namespace

int CParseSql::ParseAlterSystem(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter) {
    static constexpr ALTERFILEVERB FILE_VERBS[] = {
        {KW_ADD, ALTER_ADD_FILE, &FILEINFOBSON::m_pAlterFilePath, true, false},
        {KW_DROP, ALTER_DROP_FILE, &FILEINFOBSON::m_pOriginFilePath, false, false},
        {KW_MODIFY, ALTER_MODIFY_FILE, &FILEINFOBSON::m_pOriginFilePath, true, true},
    };
    if (lpWords->m_nNum < 2) return Fail(ERR_SYNTAX_ALTER, lpWords->m_nNum);
    const int nVerb = GetKeyword(lpWords, 1);
    for (const ALTERFILEVERB& stVerb : FILE_VERBS)
        if (stVerb.m_nKeyword == nVerb) return ParseAlterFile(stVerb, lpWords, lpAlter);
    switch (nVerb) {
        case KW_SET:
            return ParseAlterSet(ALTER_SET, lpWords, lpAlter);
        case KW_KILL:
            return ParseAlterKill(lpWords, lpAlter);
        case KW_ACTIVATE:
            return ParseAlterActivate(lpWords, lpAlter);
        case KW_STORAGE:
            return ParseAlterStorage(lpWords, lpAlter);
        default:
            return ERR_OK;
    }
}

// Kind, tablespace and size stand in any order; of two kinds the later one holds.
int CParseSql::ParseAlterFile(const ALTERFILEVERB& stVerb, stu_KestroWordArray* lpWords,
                              ALTEREXECUTEPLANBSON* lpAlter) {
    FILEINFOBSON* lpFile = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpFile, nOffset)) return nCode;
    lpAlter->m_nType = stVerb.m_bAction;
    lpAlter->m_nPlanOffset = nOffset;

    const CSqlWordReader stReader(*this, *lpWords);
    for (int i = 2; i < stReader.Num(); ++i) {
        const int nKeyword = stReader.Keyword(i);
        char* lpszText = nullptr;
        int nSize = sizeof lpFile->m_pAlterFilePath;
        if (const BYTE bFileType = FileTypeOf(nKeyword, stVerb.m_bModify)) {
            lpFile->m_bFileType = bFileType;
            lpszText = lpFile->*stVerb.m_pPath;
        } else if (nKeyword == KW_TABLESPACE) {
            lpFile->m_bTablespaceFlag = stVerb.m_bModify;
            lpszText = lpFile->m_lpszTablespaceName;
            nSize = sizeof lpFile->m_lpszTablespaceName;
        } else if (nKeyword == KW_TO && stVerb.m_bModify) {
            lpszText = lpFile->m_pAlterFilePath;
        } else if (stVerb.m_bSize) {
            // What can't be read as a size is 0: the server says so then.
            lpFile->m_nFileSize = ToNumber(stReader.Text(i), stReader.Len(i));
            continue;
        } else {
            return Fail(ERR_KEYWORD_ALTER, i);
        }
        if (!stReader.Has(++i)) return Fail(ERR_SYNTAX_ALTER, i);
        std::memset(lpszText, 0, static_cast<std::size_t>(nSize));
        if (CopyStringFromSql(stReader.Text(i), stReader.Len(i), lpszText, nSize) != STRING_COPIED)
            return Fail(ERR_EXPECT_STRING, i);
    }
    return ERR_OK;
}

int CParseSql::ParseAlterKill(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter) {
    const CSqlWordReader stReader(*this, *lpWords);
    if (stReader.Num() != 4) return ERR_SYNTAX_ALTER;
    if (!stReader.Is(2, "SESSION")) return Fail(ERR_SYNTAX_ALTER, 2);
    int nSession = 0;
    if (!stReader.ReadInteger(3, nSession)) return Fail(ERR_EXPECT_STRING, 3);
    // The id alone: neither a type nor a name. Intended.
    return WriteSetting(ALTER_KILL_SESSION, lpAlter, VT_EMPTY, "", nSession);
}

int CParseSql::ParseAlterActivate(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter) {
    const CSqlWordReader stReader(*this, *lpWords);
    if (stReader.Num() != 3) return ERR_SYNTAX_ALTER;
    if (!stReader.Is(2, "STANDBY")) return Fail(ERR_SYNTAX_ALTER, 2);
    lpAlter->m_nType = ALTER_ACTIVATE_STANDBY;
    return ERR_OK;
}

int CParseSql::ParseAlterStorage(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter) {
    constexpr int PATH = 2, MOTHED = 3, METHOD = 4, BUFFERSIZE = 5, SIZE = 6, WORD_NUM = 7;
    const CSqlWordReader stReader(*this, *lpWords);
    if (stReader.Num() <= METHOD) return ERR_SYNTAX_ALTER;
    const int nCopied =
        CopyStringFromSql(stReader.Text(PATH), stReader.Len(PATH), lpAlter->m_pFilePath, sizeof lpAlter->m_pFilePath);
    if (nCopied != STRING_COPIED) return Fail(ERR_EXPECT_STRING, PATH);
    STORAGETESTBSON* lpTest = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpTest, nOffset)) return nCode;
    lpAlter->m_nType = ALTER_STORAGE;
    lpAlter->m_nPlanOffset = nOffset;
    // Spelled so. Intended.
    if (!stReader.Is(MOTHED, "MOTHED")) return Fail(ERR_SYNTAX_ALTER, MOTHED);
    lpTest->m_nType = StringToInt(stReader.Text(METHOD));
    if (stReader.Num() < WORD_NUM) return ERR_OK;
    if (!stReader.Is(BUFFERSIZE, "BUFFERSIZE")) return Fail(ERR_SYNTAX_ALTER, BUFFERSIZE);
    lpTest->m_nBufferSize = StringToInt(stReader.Text(SIZE));
    return ERR_OK;
}
