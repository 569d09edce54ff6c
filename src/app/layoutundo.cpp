#include "app/layoutundo.h"

namespace rq::ui {

LayoutEditCommand::LayoutEditCommand(const QString& text, LayoutSnapshot before,
                                     std::string beforeKey, LayoutSnapshot after,
                                     std::string afterKey, Restore restore, int mergeId,
                                     int session)
    : QUndoCommand(text),
      before_(std::move(before)),
      after_(std::move(after)),
      beforeKey_(std::move(beforeKey)),
      afterKey_(std::move(afterKey)),
      restore_(std::move(restore)),
      mergeId_(mergeId),
      session_(session) {}

void LayoutEditCommand::undo() {
    restore_(before_, beforeKey_);
}

void LayoutEditCommand::redo() {
    if (done_) {
        done_ = false;
        return;
    }
    restore_(after_, afterKey_);
}

bool LayoutEditCommand::mergeWith(const QUndoCommand* other) {
    const auto* o = dynamic_cast<const LayoutEditCommand*>(other);
    if (!o || o->mergeId_ != mergeId_ || o->session_ != session_) return false;
    after_ = o->after_;
    afterKey_ = o->afterKey_;
    return true;
}

}  // namespace rq::ui
