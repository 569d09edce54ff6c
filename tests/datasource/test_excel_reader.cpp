#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "datasource/excel/exceldatabase.h"
#include "datasource/excel/numberformat.h"
#include "datasource/readers.h"
#include "datasource/sheetloader.h"
#include "excel_test_support.h"

using namespace rq;
using rq::testing::RecordWriter;
using rq::testing::TableSink;
namespace fs = std::filesystem;

namespace {

const fs::path kExcel = fs::path(ROWQUILL_FIXTURES) / "excel";

#define REQUIRE_FIXTURES() \
    if (!fs::exists(kExcel)) GTEST_SKIP() << "sample files not found at " << kExcel

TableSink readTable(Database& db, const std::string& table) {
    TableSink sink;
    db.read(table, sink);
    return sink;
}

TableSink readFixture(const std::string& relative, const std::string& table) {
    auto db = openExcelWorkbook((kExcel / relative).string(), {});
    return readTable(*db, table);
}

std::vector<std::string> column(const TableSink& t, std::size_t col) {
    std::vector<std::string> out;
    for (const auto& row : t.rows) out.push_back(col < row.size() ? row[col] : "<missing>");
    return out;
}

std::vector<std::string> catalogNames(Database& db) {
    std::vector<std::string> out;
    for (const auto& e : db.catalog()) out.push_back(e.name);
    return out;
}

// A workbook stream with one sheet "Data". XF 0 is General, XF 1 the built-in
// date format 14, XF 2 the custom time format 164 "hh:mm".
std::string workbook(const std::string& cells, const std::string& extraGlobals = {}) {
    auto bof = [](std::uint16_t type) {
        std::string s;
        RecordWriter::put16(s, 0x0600);
        RecordWriter::put16(s, type);
        s.append(12, '\0');
        return s;
    };
    auto xf = [](std::uint16_t format) {
        std::string s(20, '\0');
        s[2] = static_cast<char>(format & 0xFF);
        s[3] = static_cast<char>(format >> 8);
        return s;
    };
    std::string format;
    RecordWriter::put16(format, 164);
    format += RecordWriter::shortString("hh:mm");

    RecordWriter globals;
    globals.record(0x0809, bof(0x0005));
    globals.bytes() += extraGlobals;
    globals.record(0x041E, format)
        .record(0x00E0, xf(0))
        .record(0x00E0, xf(14))
        .record(0x00E0, xf(164));
    std::string sheetName(
        "\x04\x00"
        "Data",
        6);
    const std::size_t boundSheetSize = 4 + 6 + sheetName.size();
    const std::size_t sheetOffset = globals.size() + boundSheetSize + 4;
    std::string bs;
    RecordWriter::put32(bs, static_cast<std::uint32_t>(sheetOffset));
    bs += std::string("\0\0", 2) + sheetName;
    globals.record(0x0085, bs).record(0x000A, "");
    RecordWriter sheet;
    sheet.record(0x0809, bof(0x0010));
    sheet.bytes() += cells;
    sheet.record(0x000A, "");
    return globals.bytes() + sheet.bytes();
}

std::string number(std::uint16_t row, std::uint16_t col, double v, std::uint16_t xf = 0) {
    std::string d = RecordWriter::cell(row, col, xf);
    RecordWriter::putDouble(d, v);
    RecordWriter w;
    w.record(0x0203, d);
    return w.bytes();
}

std::string label(std::uint16_t row, std::uint16_t col, const std::string& text) {
    RecordWriter w;
    w.record(0x0204, RecordWriter::cell(row, col, 0) + RecordWriter::shortString(text));
    return w.bytes();
}

TableSink readBytes(const std::string& bytes, const std::string& table = "Data$") {
    auto db = openExcelWorkbookBytes("memory.xls", bytes);
    return readTable(*db, table);
}

}  // namespace

// --- number formats ---------------------------------------------------------

TEST(ExcelNumberFormat, TellsDateAndTimeFormatsFromOthers) {
    for (const char* date : {"yyyy-mm-dd", "d/m/yy", "[$-409]dddd\\,\\ mmmm\\ d", "hh:mm:ss",
                             "[h]:mm", "YYYY", "DD/MM/YYYY", "mmm-yy;@", "AM/PM"})
        EXPECT_TRUE(excel::isDateFormatCode(date)) << date;
    for (const char* other :
         {"General", "GENERAL", "0.00", "#,##0.00 \"days\"", "[Red]0.0", "0.00E+00", "_(* #,##0_)",
          "[BLUE]GENERAL", "\\d0", "@", "0;\"month\"yyyy"})
        EXPECT_FALSE(excel::isDateFormatCode(other)) << other;
    for (int id : {14, 22, 47}) EXPECT_TRUE(excel::isBuiltInDateFormat(id)) << id;
    for (int id : {0, 11, 49}) EXPECT_FALSE(excel::isBuiltInDateFormat(id)) << id;
}

// --- sample workbooks -----------------------------------------------------

TEST(ExcelFixtures, DateSystemsGiveTheSameCalendarDays) {
    REQUIRE_FIXTURES();
    // Column A holds 1, 11, 111, 1111, 11111 as numbers; column B the same
    // serials formatted as dates; C and D text formulas.
    struct Case {
        const char* file;
        std::vector<std::string> dates;
    };
    const Case cases[] = {
        {"sheetjs/biff8/1900.xls",
         {"1900-01-01", "1900-01-11", "1900-04-20", "1903-01-15", "1930-06-02"}},
        {"sheetjs/biff5/1900.biff5.xls",
         {"1900-01-01", "1900-01-11", "1900-04-20", "1903-01-15", "1930-06-02"}},
        {"sheetjs/biff8/1904.xls",
         {"1904-01-02", "1904-01-12", "1904-04-21", "1907-01-16", "1934-06-03"}},
        {"sheetjs/biff5/1904.biff5.xls",
         {"1904-01-02", "1904-01-12", "1904-04-21", "1907-01-16", "1934-06-03"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        auto db = openExcelWorkbook((kExcel / c.file).string(), {});
        EXPECT_EQ(catalogNames(*db), std::vector<std::string>{"Sheet1$"});
        TableSink t = readTable(*db, "Sheet1$");
        ASSERT_EQ(t.fields.size(), 4u);
        EXPECT_EQ(t.fields[0].name, "1");
        EXPECT_EQ(t.fields[1].name, c.dates[0]);
        EXPECT_EQ(t.types(), (std::vector<int>{kDouble, kDateTime, kText, kText}));
        ASSERT_EQ(t.rows.size(), 4u);
        const char* serials[] = {"11", "111", "1111", "11111"};
        for (int r = 0; r < 4; ++r) {
            EXPECT_EQ(t.rows[r][0], serials[r]);
            EXPECT_EQ(t.rows[r][1], c.dates[r + 1]);
            EXPECT_EQ(t.rows[r][2], c.dates[r + 1]);  // the formula's own text
        }
    }
}

TEST(ExcelFixtures, ErrorValuesAndFormulaResultsInBothGenerations) {
    REQUIRE_FIXTURES();
    for (const char* file : {"sheetjs/biff8/ErrorTypes.xls", "sheetjs/biff5/ErrorTypes.xls"}) {
        SCOPED_TRACE(file);
        TableSink t = readFixture(file, "RawErrors$");
        EXPECT_EQ(t.names(),
                  (std::vector<std::string>{"Error", "Bang", "Que", "Non", "Val", "ErrType", "Type",
                                            "ISERR", "ISNA", "ErrTypeIsErr"}));
        ASSERT_EQ(t.rows.size(), 13u);
        const std::vector<std::string> errors = {"#NULL!", "#DIV/0!", "#VALUE!", "#REF!",
                                                 "#NAME?", "#NUM!",   "#N/A"};
        const std::vector<std::string> first = column(t, 0);
        EXPECT_EQ(std::vector<std::string>(first.begin(), first.begin() + 7), errors);
        EXPECT_EQ(t.rows[0][5], "1");     // ERROR.TYPE result, a number
        EXPECT_EQ(t.rows[7][5], "#N/A");  // ... and an error result
        EXPECT_EQ(t.rows[0][7], "true");  // ISERR, a boolean result
        EXPECT_EQ(t.rows[6][8], "true");
        EXPECT_EQ(t.rows[11][0], "true");  // a boolean constant
        EXPECT_EQ(t.fields[6].type, kDouble);
        EXPECT_EQ(t.fields[7].type, kBoolean);
        EXPECT_EQ(t.fields[0].type, kText);  // errors, text, numbers mixed
    }
}

TEST(ExcelFixtures, RkNumbersKeepTheirExactValues) {
    REQUIRE_FIXTURES();
    for (const char* file : {"sheetjs/biff8/RkNumber.xls", "sheetjs/biff5/RkNumber.xls"}) {
        SCOPED_TRACE(file);
        TableSink t = readFixture(file, "RkNumber$");
        EXPECT_EQ(t.names(), (std::vector<std::string>{"fX100", "fInt", "sample"}));
        ASSERT_EQ(t.rows.size(), 4u);
        EXPECT_EQ(std::stod(t.rows[0][2]), 1e7);
        EXPECT_EQ(column(t, 2),
                  (std::vector<std::string>{t.rows[0][2], "1200455", "0.01", "12004.55"}));
        EXPECT_EQ(t.fields[2].type, kDouble);
    }
}

TEST(ExcelFixtures, UnicodeTextSheetNamesAndFormulaText) {
    REQUIRE_FIXTURES();
    auto db = openExcelWorkbook((kExcel / "sheetjs/biff8/defined_names_unicode.xls").string(), {});
    EXPECT_EQ(catalogNames(*db),
              (std::vector<std::string>{"NoContainsJapanese$", "日本語のみ$", "sheet日本語$",
                                        "日本語sheet$", "sheet日本語sheet$"}));

    TableSink t = readFixture("xlrd/formula_test_sjmachin.xls", "Sheet1$");
    EXPECT_EQ(t.names(), (std::vector<std::string>{"Description", "Data"}));
    EXPECT_EQ(column(t, 1),
              (std::vector<std::string>{"МОСКВА Москва", "0.14285714285714285", "ABCDEF", "",
                                        "true", "#DIV/0!", "МОСКВА Москва"}));

    TableSink hebrew = readFixture("sheetjs/biff8/text_and_numbers.xls", "Sheet1$");
    EXPECT_EQ(hebrew.rows[0][1], "שלום");
    EXPECT_EQ(hebrew.names()[3], "F4");  // empty headings are numbered within the range
}

TEST(ExcelFixtures, CodePageOfOlderWorkbooks) {
    REQUIRE_FIXTURES();
    TableSink t = readFixture("sheetjs/biff5/numfmt_1_russian.xls", "Sheet1$");
    ASSERT_GE(t.rows.size(), 3u);
    EXPECT_EQ(t.rows[2][1], "1 234 567,89 р.");
    EXPECT_EQ(t.rows[2][2], "# ##0,00\\ р.");
    EXPECT_EQ(t.rows[0][0], "1234567.89");

    auto db = openExcelWorkbook((kExcel / "xlrd/Formate.xls").string(), {});
    EXPECT_EQ(catalogNames(*db),
              (std::vector<std::string>{"Blätt1$", "ÖÄÜ$", "Blätt3$", "Formate$"}));
}

TEST(ExcelFixtures, CustomDateAndTimeFormats) {
    REQUIRE_FIXTURES();
    TableSink t = readFixture("xlrd/Formate.xls", "Blätt1$");
    EXPECT_EQ(t.names()[1], "1907-07-03");  // serial 2741, DD/MM/YYYY
    ASSERT_EQ(t.rows.size(), 9u);
    EXPECT_EQ(t.rows[0][1], "2005-02-23");
    EXPECT_EQ(t.rows[1][1], "1988-05-03");
    EXPECT_EQ(t.rows[2][1], "06:34:00");  // HH:MM
    EXPECT_EQ(t.rows[4][1], "17:47:13");
    EXPECT_EQ(t.rows[5][1], "0.974");    // 0.000000
    EXPECT_EQ(t.fields[1].type, kText);  // dates, times and numbers mixed

    // "GENERAL" written in capitals is not a date format.
    TableSink p = readFixture("xlrd/profiles.xls", "PROFILEDEF$");
    EXPECT_EQ(p.rows[0][1], "100");
    EXPECT_EQ(p.fields[1].type, kDouble);
    TableSink lo = readFixture("sheetjs/biff8/LONumbers.xls", "Sheet1$");
    EXPECT_EQ(lo.rows[0][2], "-1.2");                 // GENERAL
    EXPECT_EQ(lo.rows[1][3], "1900-01-12T07:12:00");  // 12.3 as YY
}

TEST(ExcelFixtures, EveryGenerationKeepsLineBreaksInText) {
    REQUIRE_FIXTURES();
    // Excel wrote the heading with a bare line feed, the other program with
    // CR LF; both wrote the formula result with CR LF.
    struct Case {
        const char* file;
        const char* table;
        const char* heading;
    };
    const Case files[] = {
        {"sheetjs/crlf/CRLFX5_2.XLS", "CRLFX5_2$", "abc\ndef"},
        {"sheetjs/crlf/CRLFX5_3.XLS", "CRLFX5_3$", "abc\ndef"},
        {"sheetjs/crlf/CRLFX5_4.XLS", "CRLFX5_4$", "abc\ndef"},
        {"sheetjs/crlf/CRLFR9_4.XLS", "CRLFR9_4$", "abc\r\ndef"},
        {"sheetjs/crlf/CRLFX5_5.XLS", "Sheet1$", "abc\ndef"},
        {"sheetjs/crlf/CRLFR9_5.XLS", "A$", "abc\r\ndef"},
        {"sheetjs/crlf/crlf5.xls", "Sheet1$", "abc\ndef"},
        {"sheetjs/crlf/crlf.xls", "Sheet1$", "abc\ndef"},
        {"sheetjs/crlf/CRLFR9.XLS", "A$", "abc\r\ndef"},
    };
    for (const auto& c : files) {
        SCOPED_TRACE(c.file);
        TableSink t = readFixture(c.file, c.table);
        EXPECT_EQ(t.names(), (std::vector<std::string>{"Normal", c.heading}));
        ASSERT_GE(t.rows.size(), 1u);
        EXPECT_EQ(t.rows[0][0], "Formula");
        EXPECT_EQ(t.rows[0][1], "abc\r\ndef");  // a formula's text result
    }
    auto db = openExcelWorkbook((kExcel / "sheetjs/crlf/CRLFX5_5.XLS").string(), {});
    EXPECT_EQ(db->catalog().size(), 16u);
}

TEST(ExcelFixtures, OtherWritersAndRaggedRows) {
    REQUIRE_FIXTURES();
    for (const char* file : {"sheetjs/other_writers/quattro_write_57.xls",
                             "sheetjs/other_writers/quattro_write_97.xls"}) {
        SCOPED_TRACE(file);
        TableSink t = readFixture(file, "A$");
        EXPECT_EQ(t.names(), (std::vector<std::string>{"1", "2", "3", "F4"}));
        ASSERT_EQ(t.rows.size(), 3u);
        EXPECT_EQ(t.rows[0], (std::vector<std::string>{"1", "0", "", "sheetjs"}));
        // The file holds 0x3FD3333333333334, one step above 0.3.
        EXPECT_EQ(t.rows[1],
                  (std::vector<std::string>{"foo", "bar", "2014-02-19", "0.30000000000000004"}));
        EXPECT_EQ(t.rows[2], (std::vector<std::string>{"baz", "", "qux", ""}));
    }
    TableSink w = readFixture("sheetjs/other_writers/wps_write.xls", "Sheet1$");
    ASSERT_EQ(w.rows.size(), 3u);
    EXPECT_EQ(w.rows[0], (std::vector<std::string>{"true", "false", "", "sheetjs"}));
    EXPECT_EQ(w.rows[1][3], "0.3");

    TableSink r = readFixture("xlrd/ragged.xls", "Sheet1$");
    EXPECT_EQ(r.names(), (std::vector<std::string>{"a", "b", "c", "F4"}));
    EXPECT_EQ(
        r.rows,
        (std::vector<std::vector<std::string>>{
            {"d", "e", "", ""}, {"f", "", "", ""}, {"g", "h", "I", "j"}, {"k", "", "", "l"}}));

    TableSink b4 =
        readFixture("xlrd/biff4_no_format_no_window2.xls", "biff4_no_format_no_window2$");
    EXPECT_EQ(b4.names(), (std::vector<std::string>{"ID", "TOTAL", "MAIN", "SUB"}));
    EXPECT_EQ(b4.rows.size(), 26u);
    EXPECT_EQ(b4.rows[0][1], "DOG & CAT PRODUCTS");
}

TEST(ExcelFixtures, EmptySheetsHaveOneFieldAndNoRecords) {
    REQUIRE_FIXTURES();
    TableSink t = readFixture("xlrd/picture_in_cell.xls", "Sheet1$");
    EXPECT_EQ(t.names(), std::vector<std::string>{"F1"});
    EXPECT_TRUE(t.rows.empty());
}

TEST(ExcelFixtures, PasswordProtectedWorkbooksGiveAClearMessage) {
    REQUIRE_FIXTURES();
    for (const char* file :
         {"sheetjs/biff8/password_2002_40_xor.xls", "sheetjs/biff5/password_2002_40_xor.xls"}) {
        try {
            openExcelWorkbook((kExcel / file).string(), {});
            ADD_FAILURE() << file << " opened";
        } catch (const DatabaseError& e) {
            EXPECT_NE(std::string(e.what()).find("password"), std::string::npos);
            EXPECT_NE(std::string(e.what()).find("password_2002_40_xor.xls"), std::string::npos);
            // Not the code that would ask the user for a password again and again.
            EXPECT_NE(e.code(), kErrPasswordRequired);
        }
    }
}

TEST(ExcelFixtures, LoadsIntoTheSheetThroughTheFileDatabaseEntry) {
    REQUIRE_FIXTURES();
    auto db = openFileDatabase("Excel 8.0;", (kExcel / "xlrd/profiles.xls").string());
    EXPECT_EQ(catalogNames(*db),
              (std::vector<std::string>{"PROFILEDEF$", "AXISDEF$", "TRAVERSALCHAINAGE$",
                                        "AXISDATUMLEVELS$", "PROFILELEVELS$"}));
    DataSheet sheet;
    auto fields = loadTable(*db, "axisdef", sheet);  // any letter case, "$" optional
    EXPECT_EQ(sheet.rows(), 15);
    EXPECT_EQ(sheet.cell(0, 0), "PROFIL");
    EXPECT_EQ(sheet.cell(1, 0), "P8.2");
    EXPECT_EQ(sheet.cell(1, 2), "100");
    EXPECT_THROW(loadTable(*db, "Nope$", sheet), DatabaseError);
    EXPECT_EQ(sheet.rows(), 15);  // a failed load keeps the sheet
}

TEST(ExcelFixtures, WholeSamplesReadWithoutWarnings) {
    REQUIRE_FIXTURES();
    int sheets = 0;
    for (const auto& e : fs::recursive_directory_iterator(kExcel)) {
        std::string ext = e.path().extension().string();
        for (auto& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (ext != ".xls") continue;
        std::unique_ptr<Database> db;
        try {
            db = openExcelWorkbook(e.path().string(), {});
        } catch (const DatabaseError&) {
            continue;  // protected or of a kind not read
        }
        for (const auto& name : catalogNames(*db)) {
            SCOPED_TRACE(e.path().string() + " " + name);
            TableSink t;
            try {
                db->read(name, t);
            } catch (const DatabaseError&) {
                continue;
            }
            ++sheets;
            EXPECT_TRUE(t.warnings.empty()) << t.warnings.front();
        }
    }
    EXPECT_GT(sheets, 20);
}

// --- records the samples do not cover -------------------------------------

TEST(ExcelRecords, SharedStringsSplitAcrossContinueRecords) {
    // Two strings; the second starts compressed in the SST record and goes on
    // wide (UTF-16) in a CONTINUE record behind a fresh option byte.
    std::string sst;
    RecordWriter::put32(sst, 2);
    RecordWriter::put32(sst, 2);
    sst += RecordWriter::shortString("Name");
    RecordWriter::put16(sst, 5);
    sst += '\0';
    sst += "ab";
    std::string cont = "\x01";
    for (char16_t c : std::u16string(u"cдe")) RecordWriter::put16(cont, c);
    RecordWriter globals;
    globals.record(0x00FC, sst).record(0x003C, cont);

    RecordWriter cells;
    auto labelSst = [](std::uint16_t row, std::uint16_t col, std::uint32_t i) {
        std::string d = RecordWriter::cell(row, col, 0);
        RecordWriter::put32(d, i);
        return d;
    };
    cells.record(0x00FD, labelSst(0, 0, 0)).record(0x00FD, labelSst(1, 0, 1));
    cells.record(0x00FD, labelSst(2, 0, 7));  // past the table: empty
    TableSink t = readBytes(workbook(cells.bytes(), globals.bytes()));
    EXPECT_EQ(t.names(), std::vector<std::string>{"Name"});
    EXPECT_EQ(column(t, 0), (std::vector<std::string>{"abcдe", ""}));
}

TEST(ExcelRecords, NumbersDatesAndColumnTypes) {
    RecordWriter w;
    // Heading row with a gap: B1 empty becomes F2.
    std::string cells =
        label(0, 0, "Amount") + label(0, 2, "When") + label(0, 3, "Mixed") + label(0, 4, "At");
    cells += number(1, 0, 3) + number(2, 0, 0.1);
    cells += number(1, 2, 45306, 1) + number(2, 2, 59, 1);
    cells += number(1, 3, 1) + label(2, 3, "x");
    cells += number(1, 4, 0.5, 2);
    // MULRK: B2 = 1234 (integer), C4.. nothing; RK values with the /100 flag.
    std::string mulrk = RecordWriter::cell(3, 0, 0).substr(0, 4);
    RecordWriter::put16(mulrk, 0);
    RecordWriter::put32(mulrk, (1234u << 2) | 2u);
    RecordWriter::put16(mulrk, 0);
    RecordWriter::put32(mulrk, (12345u << 2) | 3u);
    RecordWriter::put16(mulrk, 1);
    w.record(0x00BD, mulrk);
    // BOOLERR: a boolean column.
    std::string b = RecordWriter::cell(3, 5, 0) + std::string("\x01\x00", 2);
    w.record(0x0205, b);
    TableSink t = readBytes(workbook(cells + w.bytes()));
    EXPECT_EQ(t.names(), (std::vector<std::string>{"Amount", "F2", "When", "Mixed", "At", "F6"}));
    EXPECT_EQ(t.types(),
              (std::vector<int>{kDouble, kDouble, kDateTime, kText, kDateTime, kBoolean}));
    ASSERT_EQ(t.rows.size(), 3u);
    EXPECT_EQ(column(t, 0), (std::vector<std::string>{"3", "0.1", "1234"}));
    EXPECT_EQ(t.rows[2][1], "123.45");
    EXPECT_EQ(t.rows[0][2], "2024-01-15");
    EXPECT_EQ(t.rows[1][2], "1900-02-28");  // before the phantom 29 February 1900
    EXPECT_EQ(t.rows[0][4], "12:00:00");
    EXPECT_EQ(t.rows[2][5], "true");
}

TEST(ExcelRecords, NegativeSerialsInDateCellsStayNumbers) {
    // Serial days count from 1899-12-30; before it there is no date to give.
    TableSink t = readBytes(workbook(label(0, 0, "d") + number(1, 0, -1.5, 1) +
                                     number(2, 0, -0.25, 2) + number(3, 0, -700000, 1)));
    EXPECT_EQ(column(t, 0), (std::vector<std::string>{"-1.5", "-0.25", "-700000"}));
    EXPECT_EQ(t.types(), std::vector<int>{kDouble});
    RecordWriter g;
    g.record(0x0022, std::string("\x01\x00", 2));
    t = readBytes(workbook(label(0, 0, "d") + number(1, 0, -1, 1) + number(2, 0, 0, 1), g.bytes()));
    EXPECT_EQ(column(t, 0), (std::vector<std::string>{"-1", "1904-01-01"}));
    EXPECT_TRUE(t.warnings.empty());
}

TEST(ExcelRecords, CutWorkbooksGiveTheCellsBeforeTheCut) {
    const std::string book = workbook(label(0, 0, "x") + label(1, 0, "a") + label(2, 0, "b"));
    const std::string warning =
        "memory.xls: sheet 'Data' is cut short: the file ends before the sheet does";
    // Without the sheet's end record; inside the last cell's record.
    const std::pair<std::size_t, std::vector<std::string>> cuts[] = {{4, {"a", "b"}}, {7, {"a"}}};
    for (const auto& [cut, cells] : cuts) {
        SCOPED_TRACE(cut);
        TableSink t = readBytes(book.substr(0, book.size() - cut));
        EXPECT_EQ(column(t, 0), cells);
        ASSERT_EQ(t.warnings.size(), 1u);
        EXPECT_EQ(t.warnings[0].rfind(warning, 0), 0u) << t.warnings[0];
    }
    EXPECT_TRUE(readBytes(book).warnings.empty());
}

TEST(ExcelRecords, SharedStringsThatDoNotExistAreNamed) {
    std::string sst;
    RecordWriter::put32(sst, 1);
    RecordWriter::put32(sst, 1);
    sst += RecordWriter::shortString("only");
    RecordWriter g;
    g.record(0x00FC, sst);
    auto labelSst = [](std::uint16_t row, std::uint32_t index) {
        std::string d = RecordWriter::cell(row, 0, 0);
        RecordWriter::put32(d, index);
        RecordWriter w;
        w.record(0x00FD, d);
        return w.bytes();
    };
    TableSink t = readBytes(
        workbook(label(0, 0, "s") + labelSst(1, 0) + labelSst(2, 5) + labelSst(3, 0), g.bytes()));
    EXPECT_EQ(column(t, 0), (std::vector<std::string>{"only", "", "only"}));
    EXPECT_EQ(t.warnings,
              (std::vector<std::string>{
                  "memory.xls: sheet 'Data', cell A3: shared string 5 does not exist"}));
}

TEST(ExcelRecords, The1904DateSystem) {
    RecordWriter g;
    g.record(0x0022, std::string("\x01\x00", 2));
    TableSink t = readBytes(
        workbook(label(0, 0, "d") + number(1, 0, 0, 1) + number(2, 0, 1.25, 1), g.bytes()));
    EXPECT_EQ(column(t, 0), (std::vector<std::string>{"1904-01-01", "1904-01-02T06:00:00"}));
}

TEST(ExcelRecords, FormulaTextResultFollowsInAStringRecord) {
    std::string f = RecordWriter::cell(1, 0, 0);
    f += std::string("\x00\x00\x00\x00\x00\x00\xFF\xFF", 8);
    f += std::string(6, '\0');  // flags, chain
    RecordWriter w;
    w.record(0x0006, f).record(0x0207, RecordWriter::shortString("result"));
    // A second text formula whose STRING record never comes.
    std::string f2 = RecordWriter::cell(2, 0, 0) + f.substr(6);
    w.record(0x0006, f2);
    w.record(0x0203, number(0, 5, 1).substr(4));  // some other cell in between
    w.record(0x0207, RecordWriter::shortString("stray"));
    TableSink t = readBytes(workbook(label(0, 0, "F") + w.bytes()));
    EXPECT_EQ(column(t, 0), (std::vector<std::string>{"result", ""}));
}

TEST(ExcelRecords, DamagedAndForeignBytesGiveErrorsNamingTheFile) {
    auto expectError = [](const std::string& bytes, int code) {
        try {
            auto db = openExcelWorkbookBytes("broken.xls", bytes);
            for (const auto& e : db->catalog()) {
                TableSink s;
                db->read(e.name, s);
            }
            ADD_FAILURE() << "no error";
        } catch (const DatabaseError& e) {
            EXPECT_NE(std::string(e.what()).find("broken.xls"), std::string::npos) << e.what();
            EXPECT_EQ(e.code(), code) << e.what();
        }
    };
    expectError("", kErrUnrecognisedFormat);
    expectError("hello, world", kErrUnrecognisedFormat);
    // A compound file signature with nothing behind it.
    expectError(std::string("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8) + std::string(600, '\0'),
                kErrGeneric);
    // A FILEPASS record.
    RecordWriter g;
    g.record(0x002F, std::string(6, '\0'));
    expectError(workbook(label(0, 0, "x"), g.bytes()), kErrGeneric);
}
