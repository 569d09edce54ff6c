// Btrieve dictionaries opened as databases: the real doclife dictionary (its
// expected rows were worked out from the bytes with a separate script) and a
// small dictionary built here for the field types the sample lacks.

#include <map>

#include "datasource/btrieve/btrievedictionary.h"
#include "datasource/btrieve/btrievefields.h"
#include "datasource/readers.h"
#include "reader_test_support.h"

using namespace rq;
namespace bt = rq::btrieve;
namespace fs = std::filesystem;

namespace {

fs::path doclife() {
    return fs::path(ROWQUILL_FIXTURES) / "btrieve/doclife";
}

using Collect = rq::testing::TableSink;
using rq::testing::joined;

std::string joinNames(const std::vector<Field>& fields) {
    return joined(rq::testing::fieldNames(fields));
}

// Tables of the dictionary (code page 866), among them every field type it uses.
struct Expected {
    const char* table;
    std::size_t count;
    const char *fields, *first, *last;
};
// clang-format off
const Expected kDoclife[] = {
    {"X$File", 30, "Xf$Id|Xf$Name|Xf$Loc|Xf$Flags", "1|X$File|file.ddf|16", "30|Счета_партнеров|f30.dat|0"},
    {"X$Field", 150, "Xe$Id|Xe$File|Xe$Name|Xe$DataType|Xe$Offset|Xe$Size|Xe$Dec|Xe$Flags",
     "0|0|ddd|0|0|0|0|0", "169|30|Псевдоним|0|18|16|0|0"},
    {"X$Relation", 0, "Relation_id|Part|Source_file_id|Source_field_id|Dest_file_id|Dest_index_#", "", ""},
    {"Статьи_расходов", 16, "Номер_статьи|Название статьи", "1|100000 Текущие расходы",
     "9|240100 Приобретение оборудования и предметов длительного пользования"},
    {"Движение_средств", 1, "Номер счета|дата|Сумма|Код_договора|Расход",
     "19000141481|1994-10-10|111111111111111||false", "19000141481|1994-10-10|111111111111111||false"},
    {"Договор", 46,
     "Номер_договора|Тип_договора|Дата_заключения|Код_партнера|Дата_начала|Дата_окончания|Код_получателя|"
     "Содержание|Состояние_договора|Примечание|Краткое_описание|Признак закрытия|Признак счета|Район|Тип финансирования",
     "00-002513 (2|3|1995-04-01|63|1995-04-01|1995-12-31|63|Общая площадь 2671.47 кв.м ,полезная площадь  "
     "1311.26 кв.,м|1||КУГИ    Суворовский пр.62|0|0|24|1",
     "91|5|1995-04-01|57|1995-04-01|1995-12-31|57||1||УВД ПЕТРОДВОРЦОВОГО РАЙОНА, Охрана помещений к.228|0|0|18|1"},
    {"Справочник_партнеров", 65, "Код партнера|Наименование|Телефоны|Факс", "1|ИЧП \"ГЕО\"|439-50-93|",
     "66|QQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQQ||"},
    {"История_статьи", 82,
     "Договор|Статья|Дата начала действия|Операция|Изменяем на|Примечание|Авансовый платеж|Что изменяется",
     "|0|1995-01-11|1|153750000||false|0", "91|0|1995-04-01|3|373800||false|0"},
};
// clang-format on

std::unique_ptr<Database> openDoclife() {
    return openFileDatabase("Btrieve;", (doclife() / "FILE.DDF").string(),
                            {.password = {}, .codepage = 866});
}

}  // namespace

TEST(BtrieveDictionary, EveryDoclifeTableReadsAsStoredAndTheCatalogListsEveryEntry) {
    SKIP_WITHOUT(doclife());
    auto db = openDoclife();
    for (const auto& e : kDoclife) {
        SCOPED_TRACE(e.table);
        Collect c;
        db->read(e.table, c);
        EXPECT_EQ(joinNames(c.fields), e.fields);
        EXPECT_EQ(joinNames(db->fields(e.table)), e.fields);
        ASSERT_EQ(c.rows.size(), e.count);
        EXPECT_TRUE(c.warnings.empty()) << c.warnings.front();
        if (e.count == 0) continue;
        EXPECT_EQ(c.line(0), e.first);
        EXPECT_EQ(c.line(e.count - 1), e.last);
    }
    const auto districts = db->fields("Справочник_районов");
    EXPECT_EQ(districts.at(0).type, kInteger);  // autoincrement of 2 bytes
    // The catalog lists every entry; one whose file is missing fails on load.
    auto catalog = db->catalog();
    Collect c;
    ASSERT_EQ(catalog.size(), 30u);
    EXPECT_EQ(catalog[4], (CatalogEntry{"X$Form", 0}));
    EXPECT_EQ(catalog[29], (CatalogEntry{"Счета_партнеров", 0}));
    EXPECT_TRUE(
        rq::testing::contains(rq::testing::errorOf([&] { db->read("X$Form", c); }), "form.ddf"));
    EXPECT_THROW(db->read("No such table", c), DatabaseError);
    // Table names match ignoring letter case, as the engine's names do.
    EXPECT_EQ(joinNames(db->fields("x$file")), "Xf$Id|Xf$Name|Xf$Loc|Xf$Flags");
}

TEST(BtrieveDictionary, ACutDataFileGivesTheRecordsBeforeTheCut) {
    SKIP_WITHOUT(doclife());
    rq::testing::ScratchFolder scratch;
    const fs::path& dir = scratch.path();
    for (const char* name : {"FILE.DDF", "FIELD.DDF"}) fs::copy(doclife() / name, dir / name);
    // The data file of "Договор" (46 records) without the second half of its pages.
    const std::string bytes = rq::testing::slurp(doclife() / "F17.DAT");
    scratch.write("F17.DAT", bytes.substr(0, bytes.size() / 2));
    auto db = openFileDatabase("Btrieve;", (dir / "FILE.DDF").string(),
                               {.password = {}, .codepage = 866});
    Collect c;
    db->read("Договор", c);
    ASSERT_GT(c.rows.size(), 0u);
    ASSERT_LT(c.rows.size(), 46u);
    EXPECT_EQ(c.rows.front().front(), "00-002513 (2");
    EXPECT_EQ(c.warnings,
              (std::vector<std::string>{(dir / "F17.DAT").string() + ": " +
                                        std::to_string(c.rows.size()) + " of 46 records read"}));
}

// A dictionary made here: one table of every field type, its location stored
// in another letter case and with backslashes. Each field's stored bytes and the text they read as:
struct BuiltField {
    const char* name;
    int type;
    std::string bytes;
    int dec;
    const char* text;
};
using namespace std::string_literals;
// clang-format off
const BuiltField kBuilt[] = {
    {"Gr\x94\xE1" "e", bt::kString, "abc       ", 0, "abc"},  // "Größe" in code page 437
    {"lstr", bt::kLstring, "\x03xyzQQ", 0, "xyz"},
    {"zstr", bt::kZstring, "hi\0zz\0"s, 0, "hi"},
    {"i1", bt::kInteger, "\xFF", 0, "-1"},
    {"i2", bt::kInteger, "\x00\x80"s, 0, "-32768"},
    {"i4", bt::kInteger, "\x40\xE2\x01\x00"s, 0, "123456"},
    {"i8", bt::kInteger, "\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 0, "-2"},
    {"u2", bt::kUnsigned, "\xFF\xFF", 0, "65535"},
    {"auto", bt::kAutoinc, "\x07\x00\x00\x00"s, 0, "7"},
    {"f4", bt::kFloat, "\x9A\x99\x19\x3E", 0, "0.15"},
    {"f8", bt::kFloat, "\x00\x00\x00\x00\x00\x00\x04\x40"s, 0, "2.5"},
    {"mbf", bt::kBfloat, "\x00\x00\x80\x80"s, 0, "-0.5"},
    {"date", bt::kDate, "\x0F\x01\xE8\x07", 0, "2024-01-15"},
    {"nodate", bt::kDate, "\x00\x00\x00\x00"s, 0, ""},
    {"time", bt::kTime, "\x19\x07\x2D\x0D", 0, "13:45:07.25"},
    {"stamp", bt::kTimestamp, "\x40\x21\x62\x2b\xd0\x15\xdc\x08", 0, "2024-01-15T13:45:00.5"},
    {"dec", bt::kDecimal, "\x12\x34\x5D", 2, "-123.45"},
    {"money", bt::kMoney, "\x00\x19\x95\x0C"s, 2, "199.5"},
    {"num", bt::kNumeric, "0012N", 2, "-1.25"},
    {"numsts", bt::kNumericSts, "123-", 0, "-123"},
    {"yes", bt::kLogical, "\x01", 0, "true"},
    {"no", bt::kLogical, "\x00\x00"s, 0, "false"},
    {"cur", bt::kCurrency, "\x0E\x0D\x03\x00\x00\x00\x00\x00"s, 0, "19.995"},
    {"bit", bt::kBit, "\x08", 3, "true"},
    {"guid", bt::kGuid, "\x33\x22\x11\x00\x55\x44\x77\x66\x88\x99\xAA\xBB\xCC\xDD\xEE\xFF"s, 0,
     "{00112233-4455-6677-8899-AABBCCDDEEFF}"},
    {"wstr", bt::kWstring, "A\0b\0 \0 \0"s, 0, "Ab"},
};
// clang-format on

class BtrieveBuiltDictionary : public ::testing::Test {
  protected:
    // The data file holds four records: every value as above with the note
    // "Memo text"; the same with no variable part; values that are no value of
    // their type; a decimal of zero bytes, never written.
    void SetUp() override {
        fs::create_directories(dir_ / "data");
        write(
            dir_ / "file.ddf",
            bt::writeDataFile5(512, 87, false,
                               {bt::fileDictionaryRecord(1, "Typen", "C:\\APP\\DATA\\TYPEN.DAT")}));
        std::vector<std::string> fields;
        auto add = [&](const char* name, int type, std::size_t offset, std::size_t size,
                       int dec = 0) {
            fields.push_back(bt::fieldDictionaryRecord(
                static_cast<std::uint16_t>(fields.size() + 1), 1, name, type,
                static_cast<std::uint16_t>(offset), static_cast<std::uint16_t>(size), dec));
        };
        std::string record;
        std::map<std::string, std::size_t> offsets;
        for (const BuiltField& f : kBuilt) {
            offsets[f.name] = record.size();
            add(f.name, f.type, record.size(), f.bytes.size(), f.dec);
            record += f.bytes;
        }
        // An index entry is not a column.
        fields.push_back(bt::fieldDictionaryRecord(90, 1, "by_name", 255, 0, 10));
        add("note", bt::kNote, record.size(), 0);
        add("beyond", bt::kInteger, 4000, 2);
        write(dir_ / "Field.DDF", bt::writeDataFile5(1024, 32, false, fields));
        std::string second = record, bad = record, unwritten = record;
        second[0] = 'Z';
        auto set = [&](std::string& r, const char* field, const std::string& bytes) {
            r.replace(offsets.at(field), bytes.size(), bytes);
        };
        set(bad, "date", "\x0F\x0D\xE8\x07");  // month 13
        set(bad, "time", "\x19\x07\x2D\x19");  // hour 25
        set(bad, "dec", "\x12\x3A\x5D");       // a half-byte that is no digit
        set(bad, "num", "00x2N");
        set(unwritten, "dec", std::string(3, '\0'));
        write(dir_ / "data" / "typen.dat",
              bt::writeDataFile5(1024, static_cast<std::uint32_t>(record.size()), true,
                                 {record + "Memo text\0"s, second, bad, unwritten}));
    }
    static void write(const fs::path& p, const std::string& bytes) {
        std::ofstream(p, std::ios::binary) << bytes;
    }
    std::unique_ptr<Database> open() {
        return openFileDatabase("Btrieve;", (dir_ / "file.ddf").string());
    }
    rq::testing::ScratchFolder scratch_;
    const fs::path dir_ = scratch_.path();
};

TEST_F(BtrieveBuiltDictionary, EveryFieldTypeBecomesItsTextOrIsLeftEmptyAndNamed) {
    Collect c;
    open()->read("Typen", c);
    ASSERT_EQ(c.rows.size(), 4u);
    ASSERT_EQ(c.fields.size(), std::size(kBuilt) + 2);
    for (std::size_t i = 0; i < std::size(kBuilt); ++i) {
        EXPECT_EQ(c.fields[i].name, i ? kBuilt[i].name : "Größe");
        EXPECT_EQ(c.rows[0][i], kBuilt[i].text) << kBuilt[i].name;
    }
    EXPECT_EQ(joinNames(c.fields).substr(joinNames(c.fields).size() - 12), "|note|beyond");
    EXPECT_EQ(c.rows[0][std::size(kBuilt)] + "|" + c.rows[0].back(), "Memo text|");
    // No variable part: the note is empty.
    EXPECT_EQ(c.rows[1].front(), "Zbc");
    EXPECT_EQ(c.line(1).substr(c.line(1).size() - 2), "||");
    // Columns 12 date, 14 time, 16 dec, 18 num.
    for (std::size_t col : {12u, 14u, 16u, 18u}) EXPECT_EQ(c.rows[2].at(col), "") << col;
    EXPECT_EQ(c.rows[3].at(16), "");
    EXPECT_EQ(c.rows[3].at(12), "2024-01-15");
    const std::string file = (dir_ / "data" / "typen.dat").string();
    std::vector<std::string> expected;
    for (const char* field : {"date", "time", "dec", "num"})
        expected.push_back(file + ": record 3, field " + field +
                           ": holds no value of its type that can be read");
    EXPECT_EQ(c.warnings, expected);
}

TEST_F(BtrieveBuiltDictionary, AMissingFieldDictionaryFailsTheOpening) {
    ASSERT_NO_THROW(open());
    fs::remove(dir_ / "Field.DDF");
    EXPECT_THROW(open(), DatabaseError);
}
