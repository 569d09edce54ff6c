// The records of a workbook stream: the workbook-wide records (sheets, shared
// strings, formats, date system, code page) and the cells of one worksheet.
// Reads the record formats of every generation of the binary workbook: the
// single-sheet files of the first three generations and the multi-sheet
// workbooks of the later two.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "datasource/excel/celltable.h"

namespace rq {
class ReadWarnings;
}

namespace rq::excel {

class WorkbookError : public std::runtime_error {
  public:
    enum Reason { Damaged, NotAWorkbook, Protected };
    WorkbookError(Reason reason, const std::string& what)
        : std::runtime_error(what), reason_(reason) {}
    Reason reason() const { return reason_; }

  private:
    Reason reason_;
};

class BiffWorkbook {
  public:
    // stream: the workbook stream (or the whole file of a single-sheet
    // workbook). singleSheetName names the sheet of a single-sheet file.
    // codepage: used for byte strings instead of the workbook's own code
    // page when not 0. Throws WorkbookError.
    BiffWorkbook(std::string stream, const std::string& singleSheetName, int codepage = 0);

    // 2 .. 5 for the single-sheet generations and the 5/7 workbooks, 8 for the
    // Unicode workbooks.
    int version() const { return version_; }
    bool uses1904() const { return date1904_; }
    int codepage() const { return codepage_; }

    // The worksheets, in workbook order (charts and macro sheets are left out).
    const std::vector<std::string>& sheetNames() const { return names_; }

    // The cells of one worksheet, their text already formed. A sheet the file
    // ends inside gives the cells before the cut, and a shared string that does
    // not exist an empty cell; both are told to warnings when given. Throws
    // WorkbookError.
    std::vector<SheetCell> readSheet(std::size_t index, ReadWarnings* warnings = nullptr) const;

  private:
    void readGlobals();
    void scan(std::size_t from, std::vector<SheetCell>* cells, ReadWarnings* warnings) const;

    std::string stream_;
    int version_ = 8;
    bool date1904_ = false;
    int codepage_ = 1252;
    int codepageOverride_ = 0;
    bool singleSheet_ = false;
    std::vector<std::string> names_;
    std::vector<std::size_t> offsets_;
    std::vector<std::string> sst_;
    std::vector<std::uint16_t> xfFormat_;
    std::vector<std::pair<std::uint16_t, bool>> formatIsDate_;  // custom formats
};

}  // namespace rq::excel
