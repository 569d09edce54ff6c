// What each fuzz target does with one input, shared by the libFuzzer targets
// and by the test that replays the kept crash inputs (fuzz/corpus/<target>-*/).
// Each function reads the input through a reader and swallows the reader's
// DatabaseError; anything else (a crash, an abort) is a finding.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <string_view>

#include "datasource/btrieve/btrievefields.h"
#include "datasource/btrieve/btrievefile.h"
#include "datasource/codepage.h"
#include "datasource/database.h"
#include "datasource/dbase/dbftable.h"
#include "datasource/excel/exceldatabase.h"
#include "datasource/paradox/pxtable.h"
#include "datasource/readers.h"
#include "datasource/sheetloader.h"
#include "fuzzsink.h"
#include "layout/layoutfile.h"

namespace rq::fuzz {

// A private folder for inputs that must be files, made once per process.
inline const std::filesystem::path& scratchFolder() {
    static const std::filesystem::path dir = [] {
        std::string templ = (std::filesystem::temp_directory_path() / "rqfuzzXXXXXX").string();
        if (!::mkdtemp(templ.data())) std::abort();
        return std::filesystem::path(templ);
    }();
    return dir;
}

inline void readAllTables(Database& db) {
    for (auto& e : db.catalog()) {
        try {
            NullSink sink;
            db.read(e.name, sink);
        } catch (const DatabaseError&) {
        }
    }
}

// The input is a whole .mdb file; every table and stored query of it is read.
inline void accessInput(std::string_view input) {
    const std::string path = (scratchFolder() / "input.mdb").string();
    std::ofstream(path, std::ios::binary | std::ios::trunc) << input;
    try {
        OpenOptions o;
        o.password = "abcd1234";
        readAllTables(*openAccessDatabase(path, o));
    } catch (const DatabaseError&) {
    }
}

// A Btrieve data file; every field type is decoded at many offsets of every record.
inline void btrieveInput(std::string_view input) {
    namespace b = rq::btrieve;
    static const int types[] = {
        b::kString,    b::kInteger, b::kFloat,      b::kDate,      b::kTime,
        b::kDecimal,   b::kMoney,   b::kLogical,    b::kNumeric,   b::kBfloat,
        b::kLstring,   b::kZstring, b::kNote,       b::kLvar,      b::kUnsigned,
        b::kAutoinc,   b::kBit,     b::kNumericSts, b::kNumericSa, b::kCurrency,
        b::kTimestamp, b::kBlob,    b::kWstring,    b::kWzstring,  b::kGuid};
    const CodePage& cp = CodePage::get(437);
    try {
        b::DataFile f = b::DataFile::fromBytes(std::string(input), "fuzz");
        std::string out;
        f.forEachRecord([&](std::string_view record) {
            std::uint32_t offset = 0;
            for (int t : types) {
                for (std::uint32_t s : {1u, 2u, 4u, 8u, 16u}) {
                    b::FieldDef def;
                    def.dataType = t;
                    def.offset = offset % (static_cast<std::uint32_t>(record.size()) + 2);
                    def.size = s;
                    def.decimals = static_cast<int>(offset % 9);
                    out.clear();
                    b::appendFieldText(def, record, cp, out);
                    offset += 3;
                }
            }
        });
    } catch (const DatabaseError&) {
    }
}

// A .dbf table, optionally followed by "MEMO" and the memo file's bytes.
inline void dbaseInput(std::string_view all) {
    std::string_view table = all, memoBytes;
    if (std::size_t cut = all.find("MEMO"); cut != std::string_view::npos) {
        table = all.substr(0, cut);
        memoBytes = all.substr(cut + 4);
    }
    try {
        dbase::DbfTable t = dbase::parseDbf(table, "fuzz.dbf");
        dbase::MemoFile memo;
        if (t.memoKind != dbase::MemoKind::None && !memoBytes.empty())
            memo = dbase::MemoFile(std::string(memoBytes), t.memoKind, "fuzz.dbt");
        NullSink sink;
        dbase::readDbf(t, table, memo, sink);
    } catch (const DatabaseError&) {
    }
}

// Workbook bytes; every table is read.
inline void excelInput(std::string_view input) {
    try {
        readAllTables(*openExcelWorkbookBytes("fuzz.xls", std::string(input)));
    } catch (const DatabaseError&) {
    }
}

// Layout text; a layout that is accepted must write out and read back to the same text.
inline void layoutInput(std::string_view input) {
    LayoutTree tree;
    try {
        readLayoutText(std::string(input), tree);
    } catch (const LayoutFileError&) {
        return;
    }
    const std::string once = layoutFileText(tree);
    LayoutTree again;
    readLayoutText(once, again);
    if (layoutFileText(again) != once) std::abort();
}

// A worksheet file, tried as each of the three Lotus kinds.
inline void lotusInput(std::string_view input) {
    const auto dir = scratchFolder() / "lotus";
    std::filesystem::create_directories(dir);
    for (const char* ext : {"wk1", "wk3", "wk4"}) {
        std::ofstream(dir / (std::string("t.") + ext), std::ios::binary | std::ios::trunc) << input;
        try {
            readAllTables(*openLotusFolder(dir.string(), ext, {}));
        } catch (const DatabaseError&) {
        }
        std::filesystem::remove(dir / (std::string("t.") + ext));
    }
}

// A Paradox table, optionally followed by "BLOB" and the .mb file's bytes.
inline void paradoxInput(std::string_view all) {
    std::string_view table = all, blobs;
    if (std::size_t cut = all.find("BLOB"); cut != std::string_view::npos) {
        table = all.substr(0, cut);
        blobs = all.substr(cut + 4);
    }
    try {
        paradox::PxTable t = paradox::parseParadox(table, "fuzz.db");
        t.encryption = 0;  // reach the record decoding of scrambled tables too
        NullSink sink;
        paradox::readParadox(t, table, blobs, "fuzz.mb", sink);
    } catch (const DatabaseError&) {
    }
}

// The folder's schema.ini up to the first "\n====\n", the rest the table file t.csv.
inline void textInput(std::string_view input) {
    std::string_view schema, table = input;
    if (std::size_t cut = input.find("\n====\n"); cut != std::string_view::npos) {
        schema = input.substr(0, cut);
        table = input.substr(cut + 6);
    }
    const auto dir = scratchFolder() / "text";
    std::filesystem::create_directories(dir);
    std::ofstream(dir / "schema.ini", std::ios::binary | std::ios::trunc) << schema;
    std::ofstream(dir / "t.csv", std::ios::binary | std::ios::trunc) << table;
    try {
        auto db = openFileDatabase("Text;", (dir / "t.csv").string());
        DataSheet sheet;
        loadTable(*db, "t#csv", sheet);
    } catch (const DatabaseError&) {
    }
}

// Every target by name: the fuzz_<name> program and the corpus folders <name>-*.
inline const std::map<std::string, void (*)(std::string_view)>& targets() {
    static const std::map<std::string, void (*)(std::string_view)> all = {
        {"access", accessInput},   {"btrieve", btrieveInput}, {"dbase", dbaseInput},
        {"excel", excelInput},     {"layout", layoutInput},   {"lotus", lotusInput},
        {"paradox", paradoxInput}, {"text", textInput}};
    return all;
}

}  // namespace rq::fuzz
