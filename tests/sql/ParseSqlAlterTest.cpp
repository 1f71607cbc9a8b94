#include <gtest/gtest.h>

#include "Fields.h"
#include "PlanLine.h"

namespace {

/** What a plan says behind its head: the record of ALTER without its braces, and without what all of them have. */
std::string Altered(const std::string& strSql) {
    std::string strPlan = Compiled(strSql);
    if (strPlan.ends_with('}')) strPlan.pop_back();
    for (const std::string strLess : {"nType=32 bWriteLog=1 nCommandOffset=ALTEREXECUTEPLANBSON{bObjectType=2 nType=",
                                      " nPlanOffset=FILEINFOBSON", " nPlanOffset=ALTERSETEXPFIELDBSON"})
        if (const std::size_t n = strPlan.find(strLess); n != strPlan.npos) strPlan.erase(n, strLess.size());
    return strPlan;
}

TEST(ParseSqlAlter, AddsTheFilesOfANewInstance) {
    for (const auto& [lpszKind, nType] :
         {std::pair{"DATAFILE", 2}, {"TREEFILE", 3}, {"KVFILE", 4}, {"TABLEFILE", 10}, {"INDEXFILE", 11}})
        EXPECT_EQ(Altered(std::string("ALTER SYSTEM ADD ") + lpszKind + " '/d/File.dbf' TABLESPACE 'File' 500MB"),
                  "4{bFileType=" + std::to_string(nType) +
                      " pAlterFilePath=\"/d/File.dbf\" lpszTablespaceName=\"File\" nFileSize=524288000}");
}

TEST(ParseSqlAlter, ChangesFiles) {
    ExpectRows({"alter system add => 4",
                // Any order; of two kinds the later one holds, whole; a size that can't be read is 0.
                "alter system add 1k tablespace 'it''s' datafile 'long-path' kvfile 'b' 5X => 4{bFileType=4 "
                "pAlterFilePath=\"b\" lpszTablespaceName=\"it's\"}",
                "alter system add sysfile => 4",
                "alter system drop datafile 'a' tablespace 'b' => 5{bFileType=2 pOriginFilePath=\"a\" "
                "lpszTablespaceName=\"b\"}",
                "alter system modify sysfile 'a' to 'b' tablespace 'c' 1g => 6{bTablespaceFlag=1 bFileType=1 "
                "pOriginFilePath=\"a\" pAlterFilePath=\"b\" lpszTablespaceName=\"c\" nFileSize=1073741824}",
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
        {"alter system set max_x = 12 => 7{bDataType=1 pParameter=\"MAX_X\" bDataBuffer=12}",
         "ALTER SESSION SET KESTRO_UNIQUECHECKS = 0 => 21{bDataType=1 pParameter=\"KESTRO_UNIQUECHECKS\" "
         "bDataBuffer=0}",
         "alter system set x = 1 2 => 509 at 0", "alter session set x 1 => 509 at 0",
         "alter system set 1 = 1 => 513 at 2",
         "alter session set a23456789012345678901234567890 = 1 => 21{bDataType=1 "
         "pParameter=\"A23456789012345678901234567890\" bDataBuffer=1}",
         "alter system set a2345678901234567890123456789012 = 1 => 513 at 2", "alter system set x : 1 => 513 at 3",
         "alter system set x = 1.5 => 513 at 4", "alter session set x = 2147483648 => 513 at 4",
         // Orders.
         "alter system kill session 77 => 18{bDataBuffer=77}", "alter system kill session abc => 513 at 3",
         "alter system kill job 1 => 509 at 2", "alter system kill session => 509 at 0",
         "alter system activate Standby => 20", "alter system activate master => 509 at 2",
         "alter system activate => 509 at 0",
         "alter system storage 'p' mothed 2 => 250 nPlanOffset=STORAGETESTBSON{nType=2} pFilePath=\"p\"",
         "alter system storage 'p' mothed 2 buffersize 4096 => 250 nPlanOffset=STORAGETESTBSON{nType=2 "
         "nBufferSize=4096} pFilePath=\"p\"",
         "alter system storage 'p' mothed => 509 at 0", "alter system storage p mothed 2 => 513 at 2",
         "alter system storage 'p' method 2 => 509 at 3", "alter system storage 'p' mothed 2 size 1 => 509 at 5",
         "alter system flush => 2", "alter session flush => 21", "alter system => 509 at 1",
         "alter session => 509 at 1", "alter => 821 at 0", "alter nothing => 821 at 0",
         "alter `system` add => 821 at 0"},
        Altered);
}

TEST(ParseSqlAlter, SetsTheTransactionAndTheTimeZone) {
    ExpectRows(
        {"set transaction read only => 7{bDataType=1 pParameter=\"KESTRO_READWRITE_MODE\" bDataBuffer=1}",
         "set transaction read write and more => 7{bDataType=1 pParameter=\"KESTRO_READWRITE_MODE\" bDataBuffer=0}",
         "set transaction isolation level repeatable read => 7{bDataType=1 pParameter=\"SERVER_ISOLATIONLEVEL\" "
         "bDataBuffer=0}",
         "set transaction isolation level read committed => 7{bDataType=1 pParameter=\"SERVER_ISOLATIONLEVEL\" "
         "bDataBuffer=1}",
         "set transaction isolation level serializable => 7{bDataType=1 pParameter=\"SERVER_ISOLATIONLEVEL\" "
         "bDataBuffer=2}",
         "set timezone 8 => 7{bDataType=1 pParameter=\"KESTRO_TIME_ZONE\" bDataBuffer=8}",
         "set timezone -11 => 7{bDataType=1 pParameter=\"KESTRO_TIME_ZONE\" bDataBuffer=-11}", "set => 825 at 0",
         "set names utf8 => 825 at 0", "set transaction => 825 at 1", "set transaction read never => 825 at 2",
         "set transaction isolation read => 825 at 2", "set transaction isolation level none => 825 at 3",
         "set transaction isolation level read uncommitted => 825 at 4", "set timezone => 513 at 1",
         "set timezone east => 513 at 1"},
        Altered);
}

} // namespace
