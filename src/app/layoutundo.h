// One undoable layout edit: the whole layout before and after it, and the key
// of the node selected at each end. Typing in the name or value box gives
// one command per keystroke; those of one typing session merge into one.
#pragma once

#include <QUndoCommand>
#include <functional>
#include <string>

#include "layout/layoutsnapshot.h"

namespace rq::ui {

class LayoutEditCommand : public QUndoCommand {
  public:
    // Puts a snapshot back into the layout and selects the node with the key.
    using Restore = std::function<void(const LayoutSnapshot&, const std::string& selectKey)>;

    // The edit has already been done when the command is pushed: its first
    // redo does nothing. mergeId -1 never merges; otherwise commands with the
    // same id and session merge.
    LayoutEditCommand(const QString& text, LayoutSnapshot before, std::string beforeKey,
                      LayoutSnapshot after, std::string afterKey, Restore restore, int mergeId = -1,
                      int session = 0);

    void undo() override;
    void redo() override;
    int id() const override { return mergeId_; }
    bool mergeWith(const QUndoCommand* other) override;

  private:
    LayoutSnapshot before_, after_;
    std::string beforeKey_, afterKey_;
    Restore restore_;
    int mergeId_;
    int session_;
    bool done_ = true;
};

}  // namespace rq::ui
