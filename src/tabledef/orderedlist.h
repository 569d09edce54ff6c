// An ordered list with at most one selected item, as the list boxes of the
// table dialogs keep it: items exchanged with a neighbour carry the selection
// with them.
#pragma once

#include <utility>
#include <vector>

namespace rq {

template <typename T>
class OrderedList {
  public:
    const std::vector<T>& items() const { return items_; }
    int count() const { return static_cast<int>(items_.size()); }
    // The selected index; -1 when nothing is selected.
    int selected() const { return selected_; }
    bool hasSelection() const { return selected_ >= 0 && selected_ < count(); }
    // An index outside the list selects nothing.
    void select(int index) { selected_ = index >= 0 && index < count() ? index : -1; }

    // SetListButtons: whether Move UP / Move DOWN can act.
    bool canMoveUp() const { return hasSelection() && selected_ >= 1; }
    bool canMoveDown() const { return hasSelection() && selected_ < count() - 1; }

    // Exchanges the selected item with the one before (-1) or after (+1) it;
    // the selection follows the moved item. False when nothing moved.
    bool move(int delta) {
        if (delta < 0 ? !canMoveUp() : !canMoveDown()) return false;
        std::swap(items_[static_cast<std::size_t>(selected_)],
                  items_[static_cast<std::size_t>(selected_ + delta)]);
        selected_ += delta;
        return true;
    }

    void append(T item) { items_.push_back(std::move(item)); }
    // Removes the selected item; nothing is selected afterwards.
    bool removeSelected() {
        if (!hasSelection()) return false;
        items_.erase(items_.begin() + selected_);
        selected_ = -1;
        return true;
    }
    void clear() {
        items_.clear();
        selected_ = -1;
    }

  protected:
    std::vector<T> items_;
    int selected_ = -1;
};

}  // namespace rq
