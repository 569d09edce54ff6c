#include "app/sheetcommands.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QMimeData>
#include <QTableView>
#include <QUndoStack>
#include <memory>

#include "app/busycursor.h"
#include "app/sheeteditor.h"
#include "app/sheetmodel.h"
#include "app/sheetundo.h"
#include "sheet/sheetedit.h"

namespace rq::ui {

namespace {

QString toQString(const std::string& s) {
    return QString::fromStdString(s);
}

// The Clip text (tab between cells, carriage return between rows) as
// comma-separated lines with quotes doubled, for programs that read text/csv.
QByteArray clipAsCsv(const std::string& clip) {
    std::string out;
    for (std::string_view line : splitOn(clip, '\r')) {
        bool first = true;
        for (std::string_view cell : splitOn(line, '\t')) {
            if (!first) out += ',';
            first = false;
            out += '"';
            for (char ch : cell) {
                if (ch == '"') out += '"';
                out += ch;
            }
            out += '"';
        }
        out += "\r\n";
    }
    return QByteArray::fromStdString(out);
}

struct Selection {
    int row, col, rowSel, colSel;
    static Selection of(const DataSheet& s) { return {s.row(), s.col(), s.rowSel(), s.colSel()}; }
    void applyTo(DataSheet& s) const {
        s.setRow(row);
        s.setCol(col);
        s.setRowSel(rowSel);
        s.setColSel(colSel);
    }
};

}  // namespace

SheetCommands::SheetCommands(AppState& state, SheetModel* model, QTableView* grid,
                             SheetEditor* editor, QWidget* window)
    : QObject(window),
      state_(state),
      model_(model),
      grid_(grid),
      editor_(editor),
      window_(window),
      undo_(new QUndoStack(this)) {
    undo_->setObjectName(QStringLiteral("sheetUndoStack"));
    connect(editor_, &SheetEditor::cellEdited, this, &SheetCommands::recordCellEdit);
}

void SheetCommands::push(const QString& text, std::function<void()> redo,
                         std::function<void()> undo) {
    undo_->push(new SheetUndoCommand(text, std::move(redo), std::move(undo)));
}

void SheetCommands::recordCellEdit(int row, int col, const QString& before, const QString& after) {
    auto write = [this](int r, int c, const QString& text) {
        editor_->hideEditor();
        state_.sheet.setCell(r, c, text.toStdString());
        model_->cellChanged(r, c);
    };
    undo_->push(new CellEditCommand(row, col, before, after, editor_->session(), write));
}

void SheetCommands::structureChanged() {
    model_->reload();
    editor_->showSelection();
    emit selectionMoved();
}

void SheetCommands::contentsReplaced() {
    editor_->hideEditor();
    undo_->clear();
}

void SheetCommands::copy() {
    const std::string clip = state_.sheet.clip();
    QClipboard* board = QApplication::clipboard();
    board->clear();
    auto* data = new QMimeData;
    data->setText(toQString(clip));
    data->setData(QStringLiteral("text/csv"), clipAsCsv(clip));
    board->setMimeData(data);
}

void SheetCommands::setClipUndoable(const QString& text, const QString& label) {
    DataSheet& s = state_.sheet;
    const Selection sel = Selection::of(s);
    auto before = std::make_shared<CellBlock>(
        captureBlock(s, std::min(sel.row, sel.rowSel), std::max(sel.row, sel.rowSel),
                     std::min(sel.col, sel.colSel), std::max(sel.col, sel.colSel)));
    const std::string clip = text.toStdString();
    s.setClip(clip);
    model_->rowsChanged(before->row, before->row + before->rows - 1);
    push(
        label,
        [this, sel, clip, before] {
            Selection now = Selection::of(state_.sheet);
            sel.applyTo(state_.sheet);
            state_.sheet.setClip(clip);
            now.applyTo(state_.sheet);
            model_->rowsChanged(before->row, before->row + before->rows - 1);
        },
        [this, before] {
            restoreBlock(state_.sheet, *before);
            model_->rowsChanged(before->row, before->row + before->rows - 1);
        });
}

void SheetCommands::paste() {
    const QString text = QApplication::clipboard()->text();
    if (text.isEmpty()) return;
    editor_->hideEditor();
    setClipUndoable(text, QStringLiteral("Paste"));
}

void SheetCommands::deleteCells() {
    editor_->hideEditor();
    BusyCursor busy;
    setClipUndoable(toQString(blankClipText(mouseRect(editor_->mouse()))),
                    QStringLiteral("Delete"));
}

void SheetCommands::cut() {
    copy();
    deleteCells();
}

void SheetCommands::selectAll() {
    grid_->setUpdatesEnabled(false);
    selectAllRecords(state_.sheet, editor_->mouse());
    editor_->showSelection();
    grid_->scrollToTop();
    grid_->setUpdatesEnabled(true);
}

void SheetCommands::insertRow() {
    const int at = state_.sheet.row();
    if (at < 1 || at >= state_.sheet.rows()) return;
    editor_->hideEditor();
    state_.sheet.addItem({}, at);
    structureChanged();
    push(
        QStringLiteral("Insert Row"),
        [this, at] {
            state_.sheet.addItem({}, at);
            structureChanged();
        },
        [this, at] {
            state_.sheet.takeRows(at, 1);
            structureChanged();
        });
}

void SheetCommands::removeRow() {
    editor_->hideEditor();
    BusyCursor busy;
    auto taken = std::make_shared<TakenRows>(removeRowRange(state_.sheet, editor_->mouse()));
    if (taken->rows.empty()) return;
    const int count = static_cast<int>(taken->rows.size());
    structureChanged();
    push(
        QStringLiteral("Remove Row"),
        [this, taken, count] {
            taken->rows = state_.sheet.takeRows(taken->index, count);
            state_.sheet.setRow(1);
            structureChanged();
        },
        [this, taken] {
            state_.sheet.putRows(taken->index, std::move(taken->rows));
            structureChanged();
        });
}

void SheetCommands::cropRow() {
    editor_->hideEditor();
    BusyCursor busy;
    const MouseSelection memory = editor_->mouse();
    auto cropped = std::make_shared<CroppedRows>(cropRows(state_.sheet, editor_->mouse()));
    structureChanged();
    push(
        QStringLiteral("Crop Row"),
        [this, cropped, memory] {
            MouseSelection m = memory;
            *cropped = cropRows(state_.sheet, m);
            structureChanged();
        },
        [this, cropped] {
            uncropRows(state_.sheet, std::move(*cropped));
            structureChanged();
        });
}

void SheetCommands::insertIndex() {
    editor_->hideEditor();
    BusyCursor busy;
    const int cols = state_.sheet.cols();
    appendIndexColumn(state_.sheet);
    state_.sheetchanged = true;
    structureChanged();
    push(
        QStringLiteral("Insert Column Index"),
        [this] {
            appendIndexColumn(state_.sheet);
            state_.sheetchanged = true;
            structureChanged();
        },
        [this, cols] {
            state_.sheet.setCols(cols);
            state_.sheetchanged = true;
            structureChanged();
        });
}

void SheetCommands::renameColumn(int col, const QString& name) {
    const std::string before = state_.sheet.cellText(0, col);
    const std::string after = name.toStdString();
    auto write = [this, col](const std::string& text) {
        state_.sheet.setCell(0, col, text);
        state_.sheetchanged = true;
        model_->cellChanged(0, col);
    };
    write(after);
    push(
        QStringLiteral("Modify Column Name"), [write, after] { write(after); },
        [write, before] { write(before); });
}

std::vector<int> SheetCommands::columnWidths() const {
    std::vector<int> widths;
    for (int c = 0; c < state_.sheet.cols(); ++c)
        widths.push_back(grid_->horizontalHeader()->sectionSize(c));
    return widths;
}

void SheetCommands::setColumnWidths(const std::vector<int>& widths) {
    QHeaderView* header = grid_->horizontalHeader();
    for (std::size_t c = 0; c < widths.size() && static_cast<int>(c) < header->count(); ++c)
        header->resizeSection(static_cast<int>(c), widths[c]);
}

void SheetCommands::defineTable(const TableDefinition& table, const std::vector<int>& widths) {
    editor_->hideEditor();
    BusyCursor busy;
    struct Kept {
        DataSheet sheet;
        std::vector<int> widths;
    };
    auto other = std::make_shared<Kept>();
    try {
        rq::defineTable(other->sheet, table);
    } catch (const std::exception&) {
        return;  // more cells than memory holds
    }
    other->widths = widths;
    // Each step exchanges the sheet and widths shown with the ones kept.
    auto exchange = [this, other] {
        std::vector<int> shown = columnWidths();
        std::swap(state_.sheet, other->sheet);
        structureChanged();
        setColumnWidths(other->widths);
        other->widths = std::move(shown);
    };
    exchange();
    push(QStringLiteral("New Table"), exchange, exchange);
}

void SheetCommands::applyColumnEdit(const ColumnEdit& edit, const FillProgress& progress) {
    if (edit.name.empty()) return;
    editor_->hideEditor();
    BusyCursor busy;
    auto undo = std::make_shared<ColumnEditUndo>(rq::applyColumnEdit(state_.sheet, edit, progress));
    const auto changed = [this] {
        state_.sheetchanged = true;
        structureChanged();
    };
    changed();
    push(
        edit.mode == ColumnMode::Add ? QStringLiteral("Insert Column")
                                     : QStringLiteral("Modify Column Name"),
        [this, undo, edit, changed] {
            *undo = rq::applyColumnEdit(state_.sheet, edit);
            changed();
        },
        [this, undo, changed] {
            undoColumnEdit(state_.sheet, *undo);
            changed();
        });
}

void SheetCommands::sort(int order) {
    editor_->hideEditor();
    BusyCursor busy;
    DataSheet& s = state_.sheet;
    s.setColSel(s.colSel());
    int first = 0;
    auto from = std::make_shared<std::vector<int>>(s.sortPermutation(order, &first));
    if (from->empty()) return;
    s.permuteRows(first, *from);
    const int last = first + static_cast<int>(from->size()) - 1;
    model_->rowsChanged(first, last);
    push(
        order == 1 ? QStringLiteral("Sort Ascending") : QStringLiteral("Sort Descending"),
        [this, from, first, last] {
            state_.sheet.permuteRows(first, *from);
            model_->rowsChanged(first, last);
        },
        [this, from, first, last] {
            state_.sheet.permuteRows(first, invertPermutation(*from));
            model_->rowsChanged(first, last);
        });
}

void SheetCommands::moveRow(int delta) {
    editor_->hideEditor();
    const int r = state_.sheet.rowSel();
    if (!moveRecord(state_.sheet, delta)) return;
    auto apply = [this](int from, int by) {
        state_.sheet.setRow(from);
        moveRecord(state_.sheet, by);
        model_->rowsChanged(std::min(from, from + by), std::max(from, from + by));
        editor_->showSelection();
        emit selectionMoved();
    };
    model_->rowsChanged(std::min(r, r + delta), std::max(r, r + delta));
    editor_->showSelection();
    emit selectionMoved();
    push(
        delta < 0 ? QStringLiteral("Move UP") : QStringLiteral("Move DOWN"),
        [apply, r, delta] { apply(r, delta); }, [apply, r, delta] { apply(r + delta, -delta); });
}

}  // namespace rq::ui
