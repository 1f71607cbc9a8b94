#include <gtest/gtest.h>

#include <sstream>

#include "Fields.h"
#include "PlanLine.h"
#include "QueryText.h"

namespace {

/** Prints the plan of a statement that changes rows as compact text. */
class CDataPrinter : CPlanText {
public:
    using CPlanText::CPlanText;
    std::string Print() {
        const UINT nCommand = m_stPlan.Head().m_nCommandOffset;
        const BYTE bType = m_stPlan.Head().m_nType;
        if (bType == PLAN_INSERT) Insert(At<INSERTEXECUTEPLANBSON>(nCommand));
        if (bType == PLAN_DELETE) Rows(At<DELETEEXECUTEPLANBSON>(nCommand));
        if (bType == PLAN_UPDATE) {
            const auto& stUpdate = At<UPDATEEXECUTEPLANBSON>(nCommand);
            Rows(stUpdate);
            Fields(stUpdate.m_nExecuteFieldOffset, stUpdate.m_nExecuteFieldNum);
        }
        return m_stText.str();
    }

private:
    void Insert(const INSERTEXECUTEPLANBSON& stInsert) {
        const EXECUTERECORDINFO& stRows = stInsert.m_stExecuteObject.m_stExecuteRecord;
        const auto& stObject = At<OBJECTBSON>(stInsert.m_stExecuteObject.m_nObjectOffset);
        m_stText << m_stPlan.Text(stObject.m_nDataBaseNameOffset) << (stObject.m_nDataBaseNameOffset ? "." : "")
                 << m_stPlan.Text(stObject.m_nObjectNameOffset, stObject.m_bObjectNameLen - 1u) << '#'
                 << int{stObject.m_bObjectNo};
        Fields(stInsert.m_nExecuteFieldOffset, stInsert.m_nExecuteFieldNum);
        EXPECT_EQ(stInsert.m_bAllField, stInsert.m_nExecuteFieldNum == 0);
        EXPECT_EQ(m_stPlan.Head().m_nInsertRecordNum, stRows.m_nRecordNum);
        if (stInsert.m_bSubQuery) m_stText << ' ' << CQueryText(m_stPlan).Query(stInsert.m_nQueryPlanOffset);
        for (const RECORDHEAD& stRow : m_stPlan.Records<RECORDHEAD>(stRows.m_nRecordAddrID, stRows.m_nRecordNum)) {
            m_stText << (stRow.m_bOperationType == RECORD_INSERT ? " :" : "?");
            int nPlace = 0;
            for (const RSFIELDBSON& stField :
                 m_stPlan.Records<RSFIELDBSON>(stRow.m_nRsFieldOffset, stRow.m_bFieldNum)) {
                m_stText << (stField.m_bTempNo == ++nPlace ? ' ' : '?');
                Value(stField.m_nFieldDataOffset, stField.m_bFlag);
            }
        }
    }

    void Rows(const auto& st) {
        EXPECT_EQ(st.m_stExecuteObject.m_nObjectOffset,
                  At<QUERYEXECUTEPLANBSON>(st.m_nQueryPlanOffset).m_nObjectOffset);
        m_stText << CQueryText(m_stPlan).Query(st.m_nQueryPlanOffset);
    }

    void Value(UINT nOffset, BYTE bClass, const char* lpszBefore = "") {
        m_stText << lpszBefore << CExpressionText(m_stPlan).Root(nOffset) << ':' << int{bClass};
    }

    void Fields(UINT nOffset, UINT nNum) {
        for (const char* lpszBefore = " ("; nOffset != 0; lpszBefore = ", ") {
            const auto& stField = At<EXECUTEFIELDBSON>(nOffset);
            m_stText << lpszBefore << m_stPlan.Text(stField.m_nExpNameOffset, stField.m_bNameLen);
            if (stField.m_bObjectNo) m_stText << '#' << int{stField.m_bObjectNo};
            if (stField.m_nExpOffset) Value(stField.m_nExpOffset, stField.m_bExpressionType, " = ");
            nOffset = stField.m_nNextOffset;
            m_stText << (--nNum == 0 ? ")" : "");
        }
    }

    std::ostringstream m_stText;
};

std::string Compiled(const std::string& strSql) {
    return CompiledAs(strSql, [](const CPlanReader& stPlan) { return CDataPrinter(stPlan).Print(); });
}

TEST(ParseData, CompilesInsert) {
    ExpectRows({"insert into t values(1) => T#1 : 1:4",
                "insert into db.\"t\" (a, `b`) values (1,'x'),(?,y) => db.t#1 (A, B) : 1:4 'x':4 : ?:4 Y:1",
                // What is wrong.
                "insert t values (1) => 506 at 0", "insert => 506 at 0", "insert node (a) into t values (1) => 99 at 0",
                "insert into 'x' values (1) => 510 at 1", "insert into a.1 values (1) => 510 at 1",
                "insert into t () values (1) => 506 at 3", "insert into t (a b) values (1) => 506 at 4",
                "insert into t (a,b) values (1) => 506 at 8", "insert into t (a,b => 506 at 6",
                "insert into t => 506 at 2", "insert into t values => 506 at 3",
                "insert into t values (1),(1,2) => 506 at 7", "insert into t values (1,,2) => 506 at 6",
                "insert into t values () => 506 at 4", "insert into t values (1 => 506 at 5",
                "insert into t values (1) x => 506 at 6", "insert into t values (1), => 506 at 7"},
               Compiled);
    EXPECT_EQ(Compiled(Repeat(",1", 255, "insert into t values (1", ")")), "506 at 3");
}

TEST(ParseData, CompilesInsertOfAQuery) {
    ExpectRows(
        {"insert into t select * from u => T#1 q1.1 *=*:1 from 2:U",
         "insert into t (a) (select b from u)  => T#1 (A) q1.1 b=B:1 from 2:U",
         "insert into t any (select b from u) => T#1 q1.1/3 b=B:1 from 2:U",
         "insert into t all ((select b from u union all select c from v)) => T#1 q1.1/2 b=B:1 from 2:U then-all q2.1/2 "
         "c=C:1 from 3:V",
         "insert into t ((select b from u)) => T#1 q1.1 b=B:1 from 2:U",
         "insert into t any select b from u => 506 at 3", "insert into t any (b) => 506 at 3",
         "insert into t select * from u for update => 567 at 2", "insert into t select => 505 at 3",
         "insert into t (select b from u => 505 at 7", "insert into t (select b from u) values (1) => 505 at 12"},
        Compiled);
}

TEST(ParseData, CompilesUpdate) {
    ExpectRows(
        {"update t set a = 1 => q1.1 from 1:T (A = 1:4)",
         "update d.t x set a=a+1, x.b='x', d.x.c = ?, \"d\" = (select max(a) from u) where x.b=2 and c is null => q1.1 "
         "from 1:d.T(x) where (and (= 1.B:1 2:4) (is C:1 NULL:4)):2 (A = (+ A 1):5, B#1 = 'x':4, C#1 = ?:4, d = [q]:7)",
         "update t set a = 1 where 1=1 => q1.1 from 1:T (A = 1:4)",
         "update t set a = 1 where 1=2 => q1.1 from 1:T where false (A = 1:4)",
         "update a join b on a.x = b.x set a.y = b.y where a.z > 1 => q1.1 from 1:A, 2:B tree (1 join 2) where (and "
         "{(> 1.Z:1 1:4)} {(= 1.X:1 2.X:1)}):1 (Y#1 = 2.Y:1)",
         "update a left join b on a.x = b.x set y = 0 => q1.1 from 1:A, 2:B tree (1 left 2 on (= 1.X:1 2.X:1)) join (= "
         "1.X:1 2.X:1) (Y = 0:4)",
         "update a, b set a.y = b.y where a.x = b.x(+) => q1.1 from 1:A, 2:B tree (1 left 2) where+join (and {(=r "
         "1.X:1 2.X:1)} {-}):2 (Y#1 = 2.Y:1)",
         "update a, b set a.y = b.y where a.x = b.x(+) and b.z = 1 => q1.1 from 1:A, 2:B tree (1 left 2) where+join "
         "(and {(=r 1.X:1 2.X:1)} (and - (= 2.Z:1 1:4))):3 (Y#1 = 2.Y:1)",
         // What is wrong.
         "update node t set a = 1 => 99 at 0", "update node set a = 1 => q1.1 from 1:NODE (A = 1:4)",
         "update t set a => 507 at 3", "update t set a = => 507 at 3", "update t set a = where b = 1 => 507 at 3",
         "update t set a = 1, => 507 at 6", "update t set => 507 at 2", "update set a = 1 => 507 at 0",
         "update t => 507 at 1", "update => 507 at 0", "update t set 1 = 1 => 510 at 2",
         "update t set u.a = 1 => 510 at 2", "update t set a.b.c.d = 1 => 507 at 8",
         "update t set t.$.a = 1 => 99 at 4", "update t set a = json_set(a, '$.b', 1) => 99 at 4",
         "update t set a = 1 where => 558 at 6", "update t set a = 1 b => 515 at 5"},
        Compiled);
}

TEST(ParseData, CompilesDelete) {
    ExpectRows({"delete from t => q1.1 from 1:T",
                "delete from d.t where a = 1 or not b > 'x' => q1.1 from 1:d.T where (or (= A:1 1:4) !(> B:1 'x':4)):2",
                "delete from t where 1 = 2 => q1.1 from 1:T where false",
                "delete from t where a in (select b from u where c = t.d) => q1.1 from 1:T where (in A:1 [q]):1",
                "delete => 508 at 0", "delete t => 508 at 0", "delete from => 508 at 1",
                "delete from where a = 1 => 508 at 1", "delete relation from t => 99 at 0",
                "delete from t where => 558 at 3", "delete from t order by a => 553 at 2"},
               Compiled);
}

} // namespace
