#include <gtest/gtest.h>

#include "Fields.h"
#include "PlanLine.h"

namespace {

/** What a row's plan says behind the head: the record of ALTER without its braces. */
std::string Altered(const std::string& strSql) {
    const std::string strPlan = Compiled(strSql);
    constexpr std::string_view HEAD = "nType=32 bWriteLog=1 nCommandOffset=ALTEREXECUTEPLANBSON{";
    return strPlan.starts_with(HEAD) ? strPlan.substr(HEAD.size(), strPlan.size() - HEAD.size() - 1) : strPlan;
}

TEST(ParseSqlAlter, AddsTheFilesOfANewInstance) {
    ExpectRows({"ALTER SYSTEM ADD DATAFILE '/d/KestroDataFile.dbf' TABLESPACE 'KestroDataFile' 500MB => bObjectType=2 "
                "nType=4 nPlanOffset=FILEINFOBSON{bFileType=2 pAlterFilePath=\"/d/KestroDataFile.dbf\" "
                "lpszTablespaceName=\"KestroDataFile\" nFileSize=524288000}",
                "ALTER SYSTEM ADD TREEFILE '/d/KestroTreeFile.dbf' TABLESPACE 'KestroTreeFile' 1MB => bObjectType=2 "
                "nType=4 nPlanOffset=FILEINFOBSON{bFileType=3 pAlterFilePath=\"/d/KestroTreeFile.dbf\" "
                "lpszTablespaceName=\"KestroTreeFile\" nFileSize=1048576}",
                "ALTER SYSTEM ADD KVFILE '/d/KestroKVFile.dbf' TABLESPACE 'KestroKVFile' 2MB => bObjectType=2 nType=4 "
                "nPlanOffset=FILEINFOBSON{bFileType=4 pAlterFilePath=\"/d/KestroKVFile.dbf\" "
                "lpszTablespaceName=\"KestroKVFile\" nFileSize=2097152}",
                "ALTER SYSTEM ADD TABLEFILE '/d/TableFile.dbf' TABLESPACE 'TableFile' 3MB => bObjectType=2 nType=4 "
                "nPlanOffset=FILEINFOBSON{bFileType=10 pAlterFilePath=\"/d/TableFile.dbf\" "
                "lpszTablespaceName=\"TableFile\" nFileSize=3145728}",
                "ALTER SYSTEM ADD INDEXFILE '/d/IndexFile.dbf' TABLESPACE 'IndexFile' 4MB => bObjectType=2 nType=4 "
                "nPlanOffset=FILEINFOBSON{bFileType=11 pAlterFilePath=\"/d/IndexFile.dbf\" "
                "lpszTablespaceName=\"IndexFile\" nFileSize=4194304}"},
               Altered);
}

TEST(ParseSqlAlter, ChangesFiles) {
    ExpectRows({"alter system add => bObjectType=2 nType=4 nPlanOffset=FILEINFOBSON",
                // Any order; of two kinds the later one holds, whole; a size that can't be read is 0.
                "alter system add 1k tablespace 'it''s' datafile 'long-path' kvfile 'b' 5X => bObjectType=2 nType=4 "
                "nPlanOffset=FILEINFOBSON{bFileType=4 pAlterFilePath=\"b\" lpszTablespaceName=\"it's\"}",
                "alter system add sysfile => bObjectType=2 nType=4 nPlanOffset=FILEINFOBSON",
                "alter system drop datafile 'a' tablespace 'b' => bObjectType=2 nType=5 "
                "nPlanOffset=FILEINFOBSON{bFileType=2 pOriginFilePath=\"a\" lpszTablespaceName=\"b\"}",
                "alter system modify sysfile 'a' to 'b' tablespace 'c' 1g => bObjectType=2 nType=6 "
                "nPlanOffset=FILEINFOBSON{bTablespaceFlag=1 bFileType=1 pOriginFilePath=\"a\" pAlterFilePath=\"b\" "
                "lpszTablespaceName=\"c\" nFileSize=1073741824}",
                "alter system add datafile => 509 at 3", "alter system add datafile a => 513 at 3",
                "alter system add tablespace 'a' kvfile => 509 at 5",
                "alter system drop datafile 'a' 100MB => 821 at 4", "alter system drop sysfile 'a' => 821 at 2",
                "alter system drop tablespace => 509 at 3", "alter system modify datafile 'a' to b => 513 at 5"},
               Altered);
    const std::string strLongest(254, 'p');
    EXPECT_NE(Altered("alter system add kvfile '" + strLongest + "'").find(strLongest), std::string::npos);
    EXPECT_EQ(Altered("alter system add kvfile 'p" + strLongest + "'"), "513 at 3");
    EXPECT_EQ(Altered("alter system add tablespace '" + strLongest.substr(0, 63) + "'"), "513 at 3");
}

TEST(ParseSqlAlter, SetsAndOrdersTheRest) {
    ExpectRows(
        {"alter system set max_x = 12 => bObjectType=2 nType=7 nPlanOffset=ALTERSETEXPFIELDBSON{bDataType=1 "
         "pParameter=\"MAX_X\" bDataBuffer=12}",
         "ALTER SESSION SET KESTRO_UNIQUECHECKS = 0 => bObjectType=2 nType=21 "
         "nPlanOffset=ALTERSETEXPFIELDBSON{bDataType=1 pParameter=\"KESTRO_UNIQUECHECKS\" bDataBuffer=0}",
         "alter system set x = 1 2 => 509 at 0", "alter session set x 1 => 509 at 0",
         "alter system set 1 = 1 => 513 at 2",
         "alter session set a23456789012345678901234567890 = 1 => bObjectType=2 nType=21 "
         "nPlanOffset=ALTERSETEXPFIELDBSON{bDataType=1 pParameter=\"A23456789012345678901234567890\" bDataBuffer=1}",
         "alter system set a2345678901234567890123456789012 = 1 => 513 at 2", "alter system set x : 1 => 513 at 3",
         "alter system set x = 1.5 => 513 at 4", "alter session set x = 2147483648 => 513 at 4",
         // Orders.
         "alter system kill session 77 => bObjectType=2 nType=18 nPlanOffset=ALTERSETEXPFIELDBSON{bDataBuffer=77}",
         "alter system kill session abc => 513 at 3", "alter system kill job 1 => 509 at 2",
         "alter system kill session => 509 at 0", "alter system activate Standby => bObjectType=2 nType=20",
         "alter system activate master => 509 at 2", "alter system activate => 509 at 0",
         "alter system storage 'p' mothed 2 => bObjectType=2 nType=250 nPlanOffset=STORAGETESTBSON{nType=2} "
         "pFilePath=\"p\"",
         "alter system storage 'p' mothed 2 buffersize 4096 => bObjectType=2 nType=250 "
         "nPlanOffset=STORAGETESTBSON{nType=2 nBufferSize=4096} pFilePath=\"p\"",
         "alter system storage 'p' mothed => 509 at 0", "alter system storage p mothed 2 => 513 at 2",
         "alter system storage 'p' method 2 => 509 at 3", "alter system storage 'p' mothed 2 size 1 => 509 at 5",
         "alter system flush => bObjectType=2 nType=2", "alter session flush => bObjectType=2 nType=21",
         "alter system => 509 at 1", "alter session => 509 at 1", "alter => 821 at 0", "alter nothing => 821 at 0",
         "alter `system` add => 821 at 0"},
        Altered);
}

TEST(ParseSqlAlter, SetsTheTransactionAndTheTimeZone) {
    ExpectRows({"set transaction read only => KESTRO_READWRITE_MODE\" bDataBuffer=1}",
                "set transaction read write and more => KESTRO_READWRITE_MODE\" bDataBuffer=0}",
                "set transaction isolation level repeatable read => SERVER_ISOLATIONLEVEL\" bDataBuffer=0}",
                "set transaction isolation level read committed => SERVER_ISOLATIONLEVEL\" bDataBuffer=1}",
                "set transaction isolation level serializable => SERVER_ISOLATIONLEVEL\" bDataBuffer=2}",
                "set timezone 8 => KESTRO_TIME_ZONE\" bDataBuffer=8}",
                "set timezone -11 => KESTRO_TIME_ZONE\" bDataBuffer=-11}"},
               [](const std::string& strSql) {
                   constexpr std::string_view SET =
                       "bObjectType=2 nType=7 nPlanOffset=ALTERSETEXPFIELDBSON{bDataType=1 pParameter=\"";
                   const std::string strPlan = Altered(strSql);
                   return strPlan.starts_with(SET) ? strPlan.substr(SET.size()) : strPlan;
               });
    ExpectRows({"set => 825 at 0", "set names utf8 => 825 at 0", "set transaction => 825 at 1",
                "set transaction read never => 825 at 2", "set transaction isolation read => 825 at 2",
                "set transaction isolation level none => 825 at 3",
                "set transaction isolation level read uncommitted => 825 at 4", "set timezone => 513 at 1",
                "set timezone east => 513 at 1"},
               Altered);
}

} // namespace
