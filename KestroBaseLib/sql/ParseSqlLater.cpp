// Statements that the compiler doesn't know yet: each is refused as an unknown command, at its verb.

#include "ParseSql.h"

#define KESTRO_LATER(Parse, ...)        \
    int CParseSql::Parse(__VA_ARGS__) { \
        return ERR_INVALID_COMMAND;     \
    }
#define KESTRO_LATER_STATEMENT(Parse) KESTRO_LATER(Parse, const char*, int, EXECUTEPLANBSON*)
#define KESTRO_LATER_ALTER(Parse) KESTRO_LATER(Parse, stu_KestroWordArray*, ALTEREXECUTEPLANBSON*)

KESTRO_LATER_STATEMENT(ParseCreate)
KESTRO_LATER_STATEMENT(ParseDrop)
KESTRO_LATER_STATEMENT(ParseTrancate)
KESTRO_LATER_STATEMENT(ParseGrant)
KESTRO_LATER_STATEMENT(ParseRevoke)
KESTRO_LATER_STATEMENT(ParseRename)
KESTRO_LATER_STATEMENT(ParseFix)
KESTRO_LATER_ALTER(ParseAlterTable)
KESTRO_LATER_ALTER(ParseAlterObject)
KESTRO_LATER_ALTER(ParseAlterIndex)
KESTRO_LATER_ALTER(ParseAlterUser)
