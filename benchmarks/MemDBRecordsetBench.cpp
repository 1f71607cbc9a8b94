// Recordsets: decoding of rows of eight fields beside protobuf's of the same rows (in an arena), CSV beside one written
// by hand, typed reads beside those of an SQLite table of the same values; and without a peer a clone, and the plan of
// a set in which every row was changed.

#include <benchmark/benchmark.h>

#include <charconv>
#include <string>
#include <vector>

#include "RecordsetMaker.h"
#ifdef KESTRO_BENCH_PROTOBUF
#include "MemDBRecordsetBench.pb.h"
#endif
#ifdef KESTRO_BENCH_SQLITE
#include <sqlite3.h>
#endif

namespace {

std::string Name(int nRow) {
    return "Customer " + std::to_string(nRow * 7919 % 100000);
}
std::string City(int nRow) {
    constexpr const char* CITIES[] = {"Frankfurt am Main", "Ulm", "北京市海淀区", "Rothenburg ob der Tauber"};
    return CITIES[nRow % 4];
}
std::string Amount(int nRow) {
    return std::to_string(nRow % 100000) + "." + std::to_string(10 + nRow % 90);
}
long long Account(int nRow) {
    return 4000000000000LL + nRow * 977LL;
}

const std::string& Block(int nRows) {
    static std::string strBlock;
    static int nBlockRows = 0;
    if (nBlockRows == nRows) return strBlock;
    nBlockRows = nRows;
    CRecordsetMaker stMaker("ID:1|NAME:6|CITY:6|ACCOUNT:2|RATE:3|STAMP:4|AMOUNT:240|COUNT:1");
    for (int i = 0; i < nRows; ++i) {
        const auto Number = [](BYTE bField, auto nValue) { return RawBytes(bField) + RawBytes(nValue); };
        const auto Text = [](BYTE bField, const std::string& str) { return RawBytes(bField) + CountedRun(str); };
        stMaker.RawRow(i, Number(0, i) + Text(1, Name(i)) + Text(2, City(i)) + Number(3, Account(i)) +
                              Number(4, i * 0.125) + Number(5, 45000 + i * 0.01) + Text(6, Amount(i)) +
                              Number(7, i % 300));
    }
    return strBlock = stMaker.Block();
}

LPBYTE Bytes(std::string& strBlock) {
    return reinterpret_cast<LPBYTE>(strBlock.data());
}

void CountRows(benchmark::State& stState) {
    stState.SetItemsProcessed(stState.iterations() * stState.range(0));
}

/** The decoded set of a benchmark's rows. */
struct DECODED {
    explicit DECODED(benchmark::State& stState) : m_strBlock(Block(static_cast<int>(stState.range(0)))) {
        if (m_stSet.AnalysisRecordset(Bytes(m_strBlock), static_cast<int>(m_strBlock.size()), 0) != 0)
            stState.SkipWithError("decode");
    }

    std::string m_strBlock;
    CMemDBRecordset m_stSet;
};

// Both peers decode once in advance: memory that the machine never had in use costs more than the work.

void BM_Decode(benchmark::State& stState) {
    std::string strBlock = Block(static_cast<int>(stState.range(0)));
    CMemDBRecordset stSet;
    const auto Decode = [&] {
        if (stSet.AnalysisRecordset(Bytes(strBlock), static_cast<int>(strBlock.size()), 0) != 0)
            stState.SkipWithError("decode");
        stSet.Free();
    };
    Decode();
    for (auto _ : stState)
        Decode();
    CountRows(stState);
}
BENCHMARK(BM_Decode)->Arg(100)->Arg(10000)->Arg(100000)->Arg(1000000);

#ifdef KESTRO_BENCH_PROTOBUF
const std::string& Message(int nRows) {
    static std::string strMessage;
    static int nMessageRows = 0;
    if (nMessageRows == nRows) return strMessage;
    nMessageRows = nRows;
    bench::Rows stRows;
    for (int i = 0; i < nRows; ++i) {
        bench::Row& stRow = *stRows.add_row();
        stRow.set_data_id(i);
        stRow.set_id(i);
        stRow.set_name(Name(i));
        stRow.set_city(City(i));
        stRow.set_account(Account(i));
        stRow.set_rate(i * 0.125);
        stRow.set_stamp(45000 + i * 0.01);
        stRow.set_amount(Amount(i));
        stRow.set_count(i % 300);
    }
    return strMessage = stRows.SerializeAsString();
}

void BM_DecodeProtobuf(benchmark::State& stState) {
    const std::string& strMessage = Message(static_cast<int>(stState.range(0)));
    const auto Decode = [&] {
        google::protobuf::Arena stArena;
        auto* const lpRows = google::protobuf::Arena::CreateMessage<bench::Rows>(&stArena);
        if (!lpRows->ParseFromString(strMessage)) stState.SkipWithError("decode");
    };
    Decode();
    for (auto _ : stState)
        Decode();
    CountRows(stState);
}
BENCHMARK(BM_DecodeProtobuf)->Arg(100)->Arg(10000)->Arg(100000)->Arg(1000000);
#endif

void BM_Csv(benchmark::State& stState) {
    DECODED stDecoded(stState);
    CMemDBRecordset& stSet = stDecoded.m_stSet;
    for (auto _ : stState) {
        char* lpszText = nullptr;
        if (stSet.RecordsetToCSV(lpszText) != 0) stState.SkipWithError("csv");
        delete[] lpszText;
    }
    CountRows(stState);
}
BENCHMARK(BM_Csv)->Arg(10000);

/** The same rows out of plain structures, without a look at what has to be quoted. */
void BM_CsvToChars(benchmark::State& stState) {
    struct ROW {
        int m_nID, m_nCount;
        long long m_llAccount;
        double m_dblRate;
        std::string m_strName, m_strCity, m_strStamp, m_strAmount;
    };
    std::vector<ROW> arRow;
    for (int i = 0; i < stState.range(0); ++i)
        arRow.push_back({i, i % 300, Account(i), i * 0.125, Name(i), City(i), "2024-01-31 06:00:00", Amount(i)});
    for (auto _ : stState) {
        std::string strCsv;
        char szNumber[400];
        const auto Text = [&](const std::string& str) { strCsv.append(str).append(1, ','); };
        const auto Number = [&](auto... Value) {
            strCsv.append(szNumber, std::to_chars(szNumber, szNumber + sizeof szNumber, Value...).ptr).append(1, ',');
        };
        for (const ROW& stRow : arRow) {
            Number(stRow.m_nID), Text(stRow.m_strName), Text(stRow.m_strCity), Number(stRow.m_llAccount);
            Number(stRow.m_dblRate, std::chars_format::fixed, 6), Text(stRow.m_strStamp), Text(stRow.m_strAmount);
            Number(stRow.m_nCount);
            strCsv += "\r\n";
        }
        benchmark::DoNotOptimize(strCsv.data());
    }
    CountRows(stState);
}
BENCHMARK(BM_CsvToChars)->Arg(10000);

/** Walks the rows and reads of each what the function reads. */
template <typename READ>
void Walk(benchmark::State& stState, READ Read) {
    DECODED stDecoded(stState);
    CMemDBRecordset& stSet = stDecoded.m_stSet;
    for (auto _ : stState)
        for (stSet.MoveFirst(); !stSet.eof(); stSet.MoveNext())
            Read(stSet);
    CountRows(stState);
}

/** A number, a double and a text of each row. */
void BM_Read(benchmark::State& stState) {
    Walk(stState, [](CMemDBRecordset& stSet) {
        int nValue;
        double dblValue;
        char* lpszText;
        benchmark::DoNotOptimize(stSet.FieldValue(0, nValue));
        benchmark::DoNotOptimize(stSet.FieldValue(4, dblValue));
        benchmark::DoNotOptimize(stSet.FieldValue(1, lpszText));
    });
}
BENCHMARK(BM_Read)->Arg(10000);

void BM_ReadByName(benchmark::State& stState) {
    Walk(stState, [](CMemDBRecordset& stSet) {
        int nValue;
        benchmark::DoNotOptimize(stSet.FieldValue("COUNT", nValue));
    });
}
BENCHMARK(BM_ReadByName)->Arg(10000);

void BM_ReadDecimal(benchmark::State& stState) {
    Walk(stState, [](CMemDBRecordset& stSet) {
        int nValue;
        benchmark::DoNotOptimize(stSet.FieldValue(6, nValue));
    });
}
BENCHMARK(BM_ReadDecimal)->Arg(10000);

#ifdef KESTRO_BENCH_SQLITE
sqlite3* Table(int nRows) {
    static sqlite3* lpDatabase = nullptr;
    if (lpDatabase) return lpDatabase;
    sqlite3_open(":memory:", &lpDatabase);
    sqlite3_exec(lpDatabase, "create table T (ID integer, RATE real, NAME text, AMOUNT text)", nullptr, nullptr,
                 nullptr);
    sqlite3_stmt* lpInsert = nullptr;
    sqlite3_prepare_v2(lpDatabase, "insert into T values (?, ?, ?, ?)", -1, &lpInsert, nullptr);
    for (int i = 0; i < nRows; ++i) {
        sqlite3_bind_int(lpInsert, 1, i);
        sqlite3_bind_double(lpInsert, 2, i * 0.125);
        sqlite3_bind_text(lpInsert, 3, Name(i).c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(lpInsert, 4, Amount(i).c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_step(lpInsert);
        sqlite3_reset(lpInsert);
    }
    sqlite3_finalize(lpInsert);
    return lpDatabase;
}

/** Steps through the rows of a query and reads of each what the function reads. */
template <typename READ>
void WalkSqlite(benchmark::State& stState, const char* lpszSql, READ Read) {
    sqlite3_stmt* lpQuery = nullptr;
    sqlite3_prepare_v2(Table(static_cast<int>(stState.range(0))), lpszSql, -1, &lpQuery, nullptr);
    for (auto _ : stState) {
        while (sqlite3_step(lpQuery) == SQLITE_ROW)
            Read(lpQuery);
        sqlite3_reset(lpQuery);
    }
    sqlite3_finalize(lpQuery);
    CountRows(stState);
}

void BM_ReadSqlite(benchmark::State& stState) {
    WalkSqlite(stState, "select ID, RATE, NAME from T", [](sqlite3_stmt* lpRow) {
        benchmark::DoNotOptimize(sqlite3_column_int(lpRow, 0));
        benchmark::DoNotOptimize(sqlite3_column_double(lpRow, 1));
        benchmark::DoNotOptimize(sqlite3_column_text(lpRow, 2));
    });
}
BENCHMARK(BM_ReadSqlite)->Arg(10000);

void BM_ReadDecimalSqlite(benchmark::State& stState) {
    WalkSqlite(stState, "select AMOUNT from T",
               [](sqlite3_stmt* lpRow) { benchmark::DoNotOptimize(sqlite3_column_int(lpRow, 0)); });
}
BENCHMARK(BM_ReadDecimalSqlite)->Arg(10000);
#endif

void BM_Clone(benchmark::State& stState) {
    DECODED stDecoded(stState);
    CMemDBRecordset& stSet = stDecoded.m_stSet;
    for (auto _ : stState) {
        IKestroDBRecordset* lpClone = nullptr;
        if (stSet.Clone(lpClone) != 0) stState.SkipWithError("clone");
        lpClone->Release();
    }
    CountRows(stState);
}
BENCHMARK(BM_Clone)->Arg(10000);

/** The plan of a set of which each row has a changed number and a changed text. */
void BM_UpdatePlan(benchmark::State& stState) {
    DECODED stDecoded(stState);
    CMemDBRecordset& stSet = stDecoded.m_stSet;
    for (stSet.MoveFirst(); !stSet.eof(); stSet.MoveNext())
        if (stSet.SetField(0, 5) != 0 || stSet.SetField(1, "another name") != 0) stState.SkipWithError("change");
    for (auto _ : stState) {
        CBaseBson stBson;
        EXECUTEPLANBSON* lpPlan = nullptr;
        if (stBson.AllocBsonBuffer(nullptr, 1 << 20) != 0 || stSet.ParseRecordset(stBson, lpPlan) != 0)
            stState.SkipWithError("plan");
    }
    CountRows(stState);
}
BENCHMARK(BM_UpdatePlan)->Arg(10000);

} // namespace
