// Undoable sheet edits. Each command keeps only what its edit changed (the
// cells a paste covered, the rows a removal took out, the order a sort gave)
// and is pushed after the edit was done: its first redo does nothing.
#pragma once

#include <QUndoCommand>
#include <functional>

namespace rq::ui {

class SheetUndoCommand : public QUndoCommand {
  public:
    using Step = std::function<void()>;
    SheetUndoCommand(const QString& text, Step redo, Step undo)
        : QUndoCommand(text), redo_(std::move(redo)), undo_(std::move(undo)) {}
    void undo() override { undo_(); }
    void redo() override {
        if (done_) {
            done_ = false;
            return;
        }
        redo_();
    }

  private:
    Step redo_, undo_;
    bool done_ = true;
};

// Typing in the cell editor: the changes of one editing session of one cell
// merge into one command.
class CellEditCommand : public QUndoCommand {
  public:
    using Write = std::function<void(int row, int col, const QString& text)>;
    CellEditCommand(int row, int col, QString before, QString after, int session, Write write)
        : QUndoCommand(QStringLiteral("Edit Cell")),
          row_(row),
          col_(col),
          before_(std::move(before)),
          after_(std::move(after)),
          session_(session),
          write_(std::move(write)) {}
    void undo() override { write_(row_, col_, before_); }
    void redo() override {
        if (done_) {
            done_ = false;
            return;
        }
        write_(row_, col_, after_);
    }
    int id() const override { return 1; }
    bool mergeWith(const QUndoCommand* other) override {
        const auto* o = static_cast<const CellEditCommand*>(other);
        if (o->session_ != session_ || o->row_ != row_ || o->col_ != col_) return false;
        after_ = o->after_;
        return true;
    }

  private:
    int row_, col_;
    QString before_, after_;
    int session_;
    Write write_;
    bool done_ = true;
};

}  // namespace rq::ui
