// What the main window owns for the life of the process and its views share.
#pragma once

#include <string>

#include "layout/layouttree.h"
#include "layout/workingtable.h"
#include "sheet/datasheet.h"

class QLabel;
class QProgressBar;

namespace rq::ui {

enum class SourceKind { FileDatabase, Odbc };

struct AppState {
    DataSheet sheet = DataSheet::startup();
    LayoutTree tree;
    WorkingTable work;
    std::string tempFolder;  // the working folder, ending in "/"; empty when none was made
    bool sheetchanged = true;
    SourceKind sourceKind = SourceKind::Odbc;
    // The completed connection string of the last ODBC source opened; every
    // later use of the source reconnects with it. Empty when none is open.
    std::string odbcConnection;
    // The open file database (connect string and the file chosen), so that no
    // output is written over a file it reads. Empty when none is open.
    std::string sourceConnect, sourceFile;
};

// The status bar's second panel and its progress bar.
struct StatusTargets {
    QLabel* text = nullptr;
    QProgressBar* bar = nullptr;
};

}  // namespace rq::ui
