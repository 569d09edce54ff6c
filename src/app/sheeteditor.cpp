#include "app/sheeteditor.h"

#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTableView>

#include "app/sheetmodel.h"

namespace rq::ui {

namespace {

QString cellString(const DataSheet& sheet, int row, int col) {
    const std::string_view t = sheet.cell(row, col);
    return QString::fromUtf8(t.data(), static_cast<qsizetype>(t.size()));
}

}  // namespace

SheetEditor::SheetEditor(DataSheet& sheet, SheetModel* model, QTableView* grid)
    : QObject(grid), sheet_(sheet), model_(model), grid_(grid) {
    setObjectName(QStringLiteral("sheetEditor"));
    editor_ = new QLineEdit(grid_->viewport());
    editor_->setObjectName(QStringLiteral("txtEdit"));
    editor_->setAccessibleName(QStringLiteral("Cell editor"));
    editor_->setFrame(false);
    editor_->hide();
    editor_->installEventFilter(this);
    connect(editor_, &QLineEdit::textChanged, this, &SheetEditor::textEdited);

    grid_->installEventFilter(this);
    grid_->viewport()->installEventFilter(this);
    grid_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    connect(grid_, &QTableView::doubleClicked, this, [this] { openEditor(); });
    for (QScrollBar* bar : {grid_->verticalScrollBar(), grid_->horizontalScrollBar()})
        connect(bar, &QScrollBar::valueChanged, this, &SheetEditor::hideEditor);
    connect(model_, &QAbstractItemModel::modelReset, this, &SheetEditor::hideEditor);
    // A cell reached by the keys without Shift becomes the anchor as well.
    connect(grid_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                if (syncing_ || !current.isValid()) return;
                if (QApplication::mouseButtons() != Qt::NoButton) return;
                if (QApplication::keyboardModifiers() & Qt::ShiftModifier) return;
                sheet_.setRow(current.row() + 1);
                sheet_.setCol(current.column());
                emit positionChanged();
            });
    QHeaderView* header = grid_->horizontalHeader();
    connect(header, &QHeaderView::sectionPressed, this, [this](int c) { headerAnchor_ = c; });
    connect(header, &QHeaderView::sectionClicked, this, [this](int c) {
        if (sheet_.rows() < 2) return;
        sheet_.setRow(1);
        sheet_.setCol(headerAnchor_ >= 0 ? headerAnchor_ : c);
        sheet_.setRowSel(sheet_.rows() - 1);
        sheet_.setColSel(c);
        selectWholeColumns();
        emit positionChanged();
        emit clicked();
    });
}

bool SheetEditor::editing() const {
    return editor_->isVisible();
}

void SheetEditor::openEditor() {
    if (sheet_.row() < 1 || sheet_.row() >= sheet_.rows()) return;
    ++session_;
    editRow_ = sheet_.row();
    editCol_ = sheet_.col();
    placeEditor();
    saved_ = cellString(sheet_, editRow_, editCol_);
    written_ = saved_;
    editor_->setText(saved_);
    editor_->show();
    editor_->raise();
    editor_->setFocus();
    editor_->setCursorPosition(static_cast<int>(saved_.size()));
}

void SheetEditor::placeEditor() {
    const QRect cell = grid_->visualRect(model_->index(editRow_ - 1, editCol_));
    // Inside the cell's grid lines.
    editor_->setGeometry(cell.adjusted(1, 1, -1, -1));
}

void SheetEditor::hideEditor() {
    editor_->hide();
}

void SheetEditor::textEdited(const QString& text) {
    if (!editor_->isVisible() && text == written_) return;
    if (text == written_) return;
    const QString before = written_;
    sheet_.setCell(editRow_, editCol_, text.toStdString());
    written_ = text;
    model_->cellChanged(editRow_, editCol_);
    emit cellEdited(editRow_, editCol_, before, text);
}

void SheetEditor::goTo(int row, int col) {
    sheet_.setRow(row);
    sheet_.setCol(col);
    showSelection();
    emit positionChanged();
}

void SheetEditor::showSelection() {
    QItemSelectionModel* sel = grid_->selectionModel();
    const int r1 = sheet_.row(), r2 = sheet_.rowSel(), c1 = sheet_.col(), c2 = sheet_.colSel();
    if (r1 < 1 || r2 < 1) {
        sel->clearSelection();
        return;
    }
    syncing_ = true;
    const QModelIndex anchor = model_->index(r1 - 1, c1);
    const QModelIndex corner = model_->index(r2 - 1, c2);
    sel->setCurrentIndex(corner, QItemSelectionModel::NoUpdate);
    sel->select(QItemSelection(anchor, corner), QItemSelectionModel::ClearAndSelect);
    grid_->scrollTo(corner);
    syncing_ = false;
    // The sheet's anchor and corner survive the view's own bookkeeping.
    sheet_.setRow(r1);
    sheet_.setCol(c1);
    sheet_.setRowSel(r2);
    sheet_.setColSel(c2);
}

void SheetEditor::leaveEditor() {
    // The next typed character or double-click opens it at the new cell.
    editor_->hide();
    grid_->setFocus();
}

bool SheetEditor::editorKey(QKeyEvent* e) {
    const int last = sheet_.rows() - 1;
    const int pos = editor_->cursorPosition();
    const int len = static_cast<int>(editor_->text().size());
    const int r = sheet_.row(), c = sheet_.col();
    switch (e->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            leaveEditor();
            if (editRow_ < last) {
                goTo(r + 1, c);
                openEditor();
            }
            return true;
        case Qt::Key_Escape:
            editor_->setText(saved_);
            editor_->setCursorPosition(std::min(pos, static_cast<int>(saved_.size())));
            return true;
        case Qt::Key_Left:
            if (pos != 0) return false;
            if (c > 0) {
                leaveEditor();
                goTo(r, c - 1);
            } else if (r > 1) {
                leaveEditor();
                goTo(r - 1, sheet_.cols() - 1);
            }
            return true;
        case Qt::Key_Up:
            if (r > 1) {
                leaveEditor();
                goTo(r - 1, c);
            }
            return true;
        case Qt::Key_Right:
            if (pos != len) return false;
            if (c < sheet_.cols() - 1) {
                leaveEditor();
                goTo(r, c + 1);
            } else if (r < last) {
                leaveEditor();
                goTo(r + 1, 1);  // the wrap lands on the second column
            }
            return true;
        case Qt::Key_Down:
            if (r < last) {
                leaveEditor();
                goTo(r + 1, c);
            }
            return true;
        default:
            return false;
    }
}

bool SheetEditor::gridKey(QKeyEvent* e) {
    const QString text = e->text();
    if (text.isEmpty() || (e->modifiers() & (Qt::ControlModifier | Qt::AltModifier))) return false;
    const QChar ch = text.at(0);
    if (ch == QChar(8) || ch == QChar(27)) return false;
    if (!ch.isPrint() && ch != QChar(13)) return false;
    if (!editing()) openEditor();
    return true;  // the character that opened the editor is not inserted
}

void SheetEditor::mouseReleased(QMouseEvent* e) {
    mouse_.buttonReleased(sheet_);
    emit clicked();
    // A click on whole columns hands that block to Delete, Cut and Crop Row.
    if (sheet_.row() == 1 && sheet_.rowSel() == sheet_.rows() - 1) selectWholeColumns();
    if (e->button() == Qt::RightButton) emit contextMenuWanted(e->globalPosition().toPoint());
}

void SheetEditor::selectWholeColumns() {
    mouse_.pressRow = std::to_string(1);
    mouse_.pressCol = std::to_string(sheet_.col());
    mouse_.releaseRow = std::to_string(sheet_.rows() - 1);
    mouse_.releaseCol = std::to_string(sheet_.colSel());
}

bool SheetEditor::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if (watched == editor_ && type == QEvent::KeyPress)
        return editorKey(static_cast<QKeyEvent*>(event));
    if (watched == grid_ && type == QEvent::KeyPress)
        return gridKey(static_cast<QKeyEvent*>(event));
    if (watched == grid_->viewport()) {
        if (type == QEvent::MouseButtonPress) {
            // Let the view move the selection first, then remember it.
            grid_->viewport()->removeEventFilter(this);
            QApplication::sendEvent(grid_->viewport(), event);
            grid_->viewport()->installEventFilter(this);
            emit positionChanged();
            mouse_.buttonPressed(sheet_);
            return true;
        }
        if (type == QEvent::MouseButtonRelease) {
            grid_->viewport()->removeEventFilter(this);
            QApplication::sendEvent(grid_->viewport(), event);
            grid_->viewport()->installEventFilter(this);
            mouseReleased(static_cast<QMouseEvent*>(event));
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace rq::ui
