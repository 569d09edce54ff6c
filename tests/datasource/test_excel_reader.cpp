#include <cstring>

#include "datasource/excel/exceldatabase.h"
#include "datasource/readers.h"
#include "reader_test_support.h"

using namespace rq;
using namespace rq::testing;
namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

namespace {

const fs::path kExcel = fs::path(ROWQUILL_FIXTURES) / "excel";

#define REQUIRE_FIXTURES() SKIP_WITHOUT(kExcel)

// Every sample sheet read here reads without a warning.
TableSink readFixture(const std::string& relative, const std::string& table) {
    auto db = openExcelWorkbook((kExcel / relative).string(), {});
    TableSink t = readTable(*db, table);
    EXPECT_TRUE(t.warnings.empty()) << relative << ": " << t.warnings.front();
    return t;
}

// One record of the stream: id, length, data.
std::string rec(unsigned id, const std::string& data) {
    return le16(id) + le16(static_cast<unsigned>(data.size())) + data;
}
std::string cell(unsigned row, unsigned col, unsigned xf = 0) {
    return le16(row) + le16(col) + le16(xf);
}
// A compressed (8-bit) Unicode string with a 16-bit count.
std::string shortString(const std::string& latin1) {
    return le16(static_cast<unsigned>(latin1.size())) + '\0' + latin1;
}

// A workbook stream with one sheet "Data". XF 0 is General, XF 1 the built-in
// date format 14, XF 2 the custom time format 164 "hh:mm".
std::string workbook(const std::string& cells, const std::string& extraGlobals = {}) {
    const auto bof = [](unsigned type) {
        return rec(0x0809, le16(0x0600) + le16(type) + std::string(12, '\0'));
    };
    const auto xf = [](unsigned format) {
        return rec(0x00E0, le16(0) + le16(format) + std::string(16, '\0'));
    };
    const std::string globals = bof(0x0005) + extraGlobals +
                                rec(0x041E, le16(164) + shortString("hh:mm")) + xf(0) + xf(14) +
                                xf(164);
    const std::string sheetName = std::string("\x04\x00", 2) + "Data";
    // The sheet follows this sheet record (4 + 6 bytes and the name) and the end record.
    const auto sheetOffset =
        static_cast<std::uint32_t>(globals.size() + 4 + 6 + sheetName.size() + 4);
    return globals + rec(0x0085, le32(sheetOffset) + std::string("\0\0", 2) + sheetName) +
           rec(0x000A, "") + bof(0x0010) + cells + rec(0x000A, "");
}

std::string number(unsigned row, unsigned col, double v, unsigned xf = 0) {
    std::string bits(8, '\0');
    std::memcpy(bits.data(), &v, 8);
    return rec(0x0203, cell(row, col, xf) + bits);
}

std::string label(unsigned row, unsigned col, const std::string& text) {
    return rec(0x0204, cell(row, col) + shortString(text));
}

std::string labelSst(unsigned row, std::uint32_t index) {
    return rec(0x00FD, cell(row, 0) + le32(index));
}

TableSink readBytes(const std::string& bytes, const std::string& table = "Data$") {
    auto db = openExcelWorkbookBytes("memory.xls", bytes);
    return readTable(*db, table);
}

}  // namespace

// --- sample workbooks -----------------------------------------------------

TEST(ExcelFixtures, DateSystemsGiveTheSameCalendarDays) {
    REQUIRE_FIXTURES();
    // Column A holds 1, 11, 111, 1111, 11111 as numbers; column B the same
    // serials formatted as dates; C and D text formulas.
    const Strings d1900 = {"1900-01-01", "1900-01-11", "1900-04-20", "1903-01-15", "1930-06-02"};
    const Strings d1904 = {"1904-01-02", "1904-01-12", "1904-04-21", "1907-01-16", "1934-06-03"};
    const std::pair<const char*, const Strings*> cases[] = {
        {"sheetjs/biff8/1900.xls", &d1900},
        {"sheetjs/biff5/1900.biff5.xls", &d1900},
        {"sheetjs/biff8/1904.xls", &d1904},
        {"sheetjs/biff5/1904.biff5.xls", &d1904},
    };
    for (const auto& [file, dates] : cases) {
        SCOPED_TRACE(file);
        auto db = openExcelWorkbook((kExcel / file).string(), {});
        EXPECT_EQ(catalogNames(db->catalog()), Strings{"Sheet1$"});
        TableSink t = readTable(*db, "Sheet1$");
        EXPECT_EQ(t.names()[1], (*dates)[0]);
        EXPECT_EQ(t.types(), (std::vector<int>{kDouble, kDateTime, kText, kText}));
        EXPECT_EQ(t.column(0), (Strings{"11", "111", "1111", "11111"}));
        const Strings later(dates->begin() + 1, dates->end());
        EXPECT_EQ(t.column(1), later);
        EXPECT_EQ(t.column(2), later);  // the formula's own text
    }
}

TEST(ExcelFixtures, ErrorValuesRkNumbersAndFormulaResultsInBothGenerations) {
    REQUIRE_FIXTURES();
    for (const char* generation : {"sheetjs/biff8/", "sheetjs/biff5/"}) {
        SCOPED_TRACE(generation);
        TableSink t = readFixture(std::string(generation) + "ErrorTypes.xls", "RawErrors$");
        ASSERT_EQ(t.rows.size(), 13u);
        const Strings first = t.column(0);
        EXPECT_EQ(Strings(first.begin(), first.begin() + 7),
                  (Strings{"#NULL!", "#DIV/0!", "#VALUE!", "#REF!", "#NAME?", "#NUM!", "#N/A"}));
        EXPECT_EQ(t.rows[0][5], "1");      // ERROR.TYPE result, a number
        EXPECT_EQ(t.rows[7][5], "#N/A");   // ... and an error result
        EXPECT_EQ(t.rows[0][7], "true");   // ISERR, a boolean result
        EXPECT_EQ(t.rows[11][0], "true");  // a boolean constant
        EXPECT_EQ(t.types()[7], kBoolean);
        EXPECT_EQ(t.types()[0], kText);  // errors, text, numbers mixed

        TableSink rk = readFixture(std::string(generation) + "RkNumber.xls", "RkNumber$");
        EXPECT_EQ(rk.names(), (Strings{"fX100", "fInt", "sample"}));
        EXPECT_EQ(std::stod(rk.rows.at(0).at(2)), 1e7);
        EXPECT_EQ(rk.column(2), (Strings{rk.rows[0][2], "1200455", "0.01", "12004.55"}));
    }
}

TEST(ExcelFixtures, UnicodeAndCodePageTextInNamesAndCells) {
    REQUIRE_FIXTURES();
    auto db = openExcelWorkbook((kExcel / "sheetjs/biff8/defined_names_unicode.xls").string(), {});
    EXPECT_EQ(catalogNames(db->catalog()),
              (Strings{"NoContainsJapanese$", "日本語のみ$", "sheet日本語$", "日本語sheet$",
                       "sheet日本語sheet$"}));
    TableSink t = readFixture("xlrd/formula_test_sjmachin.xls", "Sheet1$");
    EXPECT_EQ(t.column(1), (Strings{"МОСКВА Москва", "0.14285714285714285", "ABCDEF", "", "true",
                                    "#DIV/0!", "МОСКВА Москва"}));
    TableSink hebrew = readFixture("sheetjs/biff8/text_and_numbers.xls", "Sheet1$");
    EXPECT_EQ(hebrew.rows[0][1], "שלום");
    EXPECT_EQ(hebrew.names()[3], "F4");  // empty headings are numbered within the range
    // Older workbooks carry their code page.
    TableSink russian = readFixture("sheetjs/biff5/numfmt_1_russian.xls", "Sheet1$");
    EXPECT_EQ(russian.rows.at(2).at(1), "1 234 567,89 р.");
    auto formate = openExcelWorkbook((kExcel / "xlrd/Formate.xls").string(), {});
    EXPECT_EQ(catalogNames(formate->catalog()),
              (Strings{"Blätt1$", "ÖÄÜ$", "Blätt3$", "Formate$"}));
}

TEST(ExcelFixtures, CustomDateAndTimeFormats) {
    REQUIRE_FIXTURES();
    TableSink t = readFixture("xlrd/Formate.xls", "Blätt1$");
    EXPECT_EQ(t.names()[1], "1907-07-03");  // serial 2741, DD/MM/YYYY
    ASSERT_EQ(t.rows.size(), 9u);
    EXPECT_EQ(t.rows[0][1], "2005-02-23");
    EXPECT_EQ(t.rows[2][1], "06:34:00");  // HH:MM
    EXPECT_EQ(t.rows[5][1], "0.974");     // 0.000000
    EXPECT_EQ(t.types()[1], kText);       // dates, times and numbers mixed
    // "GENERAL" written in capitals is not a date format.
    TableSink p = readFixture("xlrd/profiles.xls", "PROFILEDEF$");
    EXPECT_EQ(p.rows[0][1], "100");
    EXPECT_EQ(p.types()[1], kDouble);
    // Sheet names in any letter case, "$" optional.
    EXPECT_EQ(readFixture("xlrd/profiles.xls", "axisdef").column(0).front(), "P8.2");
    EXPECT_THROW(readFixture("xlrd/profiles.xls", "Nope$"), DatabaseError);
    TableSink lo = readFixture("sheetjs/biff8/LONumbers.xls", "Sheet1$");
    EXPECT_EQ(lo.rows[0][2], "-1.2");                 // GENERAL
    EXPECT_EQ(lo.rows[1][3], "1900-01-12T07:12:00");  // 12.3 as YY
}

TEST(ExcelFixtures, LineBreaksOtherWritersRaggedAndEmptySheets) {
    REQUIRE_FIXTURES();
    // Excel wrote the heading with a bare line feed, the other program with
    // CR LF; both wrote the formula result with CR LF.
    const std::pair<const char*, const char*> crlf[] = {{"sheetjs/crlf/CRLFX5_2.XLS", "CRLFX5_2$"},
                                                        {"sheetjs/crlf/CRLFR9.XLS", "A$"}};
    for (const auto& [file, table] : crlf) {
        TableSink t = readFixture(file, table);
        EXPECT_EQ(t.names()[1], table[0] == 'A' ? "abc\r\ndef" : "abc\ndef") << file;
        EXPECT_EQ(t.rows.at(0), (Strings{"Formula", "abc\r\ndef"})) << file;
    }
    TableSink q = readFixture("sheetjs/other_writers/quattro_write_97.xls", "A$");
    EXPECT_EQ(q.rows, (std::vector<Strings>{{"1", "0", "", "sheetjs"},
                                            // 0x3FD3333333333334, one step above 0.3
                                            {"foo", "bar", "2014-02-19", "0.30000000000000004"},
                                            {"baz", "", "qux", ""}}));
    TableSink w = readFixture("sheetjs/other_writers/wps_write.xls", "Sheet1$");
    EXPECT_EQ(w.rows.at(0), (Strings{"true", "false", "", "sheetjs"}));
    TableSink r = readFixture("xlrd/ragged.xls", "Sheet1$");
    EXPECT_EQ(r.names(), (Strings{"a", "b", "c", "F4"}));
    EXPECT_EQ(
        r.rows,
        (std::vector<Strings>{
            {"d", "e", "", ""}, {"f", "", "", ""}, {"g", "h", "I", "j"}, {"k", "", "", "l"}}));
    TableSink b4 =
        readFixture("xlrd/biff4_no_format_no_window2.xls", "biff4_no_format_no_window2$");
    EXPECT_EQ(b4.rows.size(), 26u);
    EXPECT_EQ(b4.rows[0][1], "DOG & CAT PRODUCTS");
    TableSink empty = readFixture("xlrd/picture_in_cell.xls", "Sheet1$");
    EXPECT_EQ(empty.names(), Strings{"F1"});
    EXPECT_TRUE(empty.rows.empty());
}

TEST(ExcelFixtures, PasswordProtectedWorkbooksGiveAClearMessage) {
    REQUIRE_FIXTURES();
    for (const char* file :
         {"sheetjs/biff8/password_2002_40_xor.xls", "sheetjs/biff5/password_2002_40_xor.xls"}) {
        const Thrown e = thrownBy([&] { openExcelWorkbook((kExcel / file).string(), {}); });
        EXPECT_TRUE(contains(e.message, "password_2002_40_xor.xls")) << e.message;
        EXPECT_TRUE(contains(e.message, "password")) << e.message;
        // Not the code that would ask the user for a password again and again.
        EXPECT_NE(e.code, kErrPasswordRequired);
        EXPECT_NE(e.code, -1);
    }
}

// --- records the samples do not cover -------------------------------------

TEST(ExcelRecords, SharedStringsAcrossContinueRecordsAndOnesThatDoNotExist) {
    // The second string starts compressed in the SST record and goes on wide
    // (UTF-16) in a CONTINUE record behind a fresh option byte.
    const std::string sst = le32(2) + le32(2) + shortString("Name") + le16(5) + '\0' + "ab";
    std::string cont = "\x01";
    for (char16_t c : std::u16string(u"cдe")) cont += le16(c);
    TableSink t = readBytes(workbook(labelSst(0, 0) + labelSst(1, 1) + labelSst(2, 7),
                                     rec(0x00FC, sst) + rec(0x003C, cont)));
    EXPECT_EQ(t.names(), Strings{"Name"});
    EXPECT_EQ(t.column(0), (Strings{"abcдe", ""}));
    EXPECT_EQ(t.warnings,
              Strings{"memory.xls: sheet 'Data', cell A3: shared string 7 does not exist"});
}

TEST(ExcelRecords, NumbersDatesAndColumnTypes) {
    // Heading row with a gap: B1 empty becomes F2.
    std::string cells =
        label(0, 0, "Amount") + label(0, 2, "When") + label(0, 3, "Mixed") + label(0, 4, "At");
    cells += number(1, 0, 3) + number(2, 0, 0.1);
    cells += number(1, 2, 45306, 1) + number(2, 2, 59, 1);
    cells += number(1, 3, 1) + label(2, 3, "x");
    cells += number(1, 4, 0.5, 2);
    // MULRK: A4 = 1234 (integer), B4 = 123.45 (the /100 flag).
    const std::string mulrk = cell(3, 0).substr(0, 4) + le16(0) + le32((1234u << 2) | 2u) +
                              le16(0) + le32((12345u << 2) | 3u) + le16(1);
    cells += rec(0x00BD, mulrk);
    cells += rec(0x0205, cell(3, 5) + std::string("\x01\x00", 2));  // BOOLERR
    // Serial days count from 1899-12-30; before it there is no date to give.
    cells += label(0, 6, "Before") + number(1, 6, -1.5, 1) + number(2, 6, -0.25, 2) +
             number(3, 6, -700000, 1);
    TableSink t = readBytes(workbook(cells));
    EXPECT_EQ(t.names(), (Strings{"Amount", "F2", "When", "Mixed", "At", "F6", "Before"}));
    EXPECT_EQ(t.types(),
              (std::vector<int>{kDouble, kDouble, kDateTime, kText, kDateTime, kBoolean, kDouble}));
    // 59 is 1900-02-28, before the phantom 29 February 1900.
    EXPECT_EQ(joinedRows(t.rows),
              (Strings{"3||2024-01-15|1|12:00:00||-1.5", "0.1||1900-02-28|x|||-0.25",
                       "1234|123.45||||true|-700000"}));
}

TEST(ExcelRecords, CutWorkbooksGiveTheCellsBeforeTheCut) {
    const std::string book = workbook(label(0, 0, "x") + label(1, 0, "a") + label(2, 0, "b"));
    const std::string warning =
        "memory.xls: sheet 'Data' is cut short: the file ends before the sheet does";
    // Without the sheet's end record; inside the last cell's record.
    const std::pair<std::size_t, Strings> cuts[] = {{4, {"a", "b"}}, {7, {"a"}}};
    for (const auto& [cut, cells] : cuts) {
        TableSink t = readBytes(book.substr(0, book.size() - cut));
        EXPECT_EQ(t.column(0), cells) << cut;
        ASSERT_EQ(t.warnings.size(), 1u);
        EXPECT_EQ(t.warnings[0].rfind(warning, 0), 0u) << t.warnings[0];
    }
    EXPECT_TRUE(readBytes(book).warnings.empty());
}

TEST(ExcelRecords, FormulaTextResultFollowsInAStringRecord) {
    std::string f = cell(1, 0);
    f += std::string("\x00\x00\x00\x00\x00\x00\xFF\xFF", 8);
    f += std::string(6, '\0');  // flags, chain
    const std::string cells = rec(0x0006, f) + rec(0x0207, shortString("result")) +
                              // A second text formula whose STRING record never comes.
                              rec(0x0006, cell(2, 0) + f.substr(6)) +
                              number(0, 5, 1) +  // some other cell in between
                              rec(0x0207, shortString("stray"));
    TableSink t = readBytes(workbook(label(0, 0, "F") + cells));
    EXPECT_EQ(t.column(0), (Strings{"result", ""}));
}

TEST(ExcelRecords, DamagedAndForeignBytesGiveErrorsNamingTheFile) {
    const std::pair<std::string, int> cases[] = {
        {"", kErrUnrecognisedFormat},
        {"hello, world", kErrUnrecognisedFormat},
        // A compound file signature with nothing behind it.
        {std::string("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8) + std::string(600, '\0'), kErrGeneric},
        {workbook(label(0, 0, "x"), rec(0x002F, std::string(6, '\0'))), kErrGeneric},  // FILEPASS
    };
    for (const auto& [bytes, code] : cases) {
        const Thrown e = thrownBy([&] {
            auto db = openExcelWorkbookBytes("broken.xls", bytes);
            for (const auto& entry : db->catalog()) readTable(*db, entry.name);
        });
        EXPECT_TRUE(contains(e.message, "broken.xls")) << e.message;
        EXPECT_EQ(e.code, code) << e.message;
    }
}
