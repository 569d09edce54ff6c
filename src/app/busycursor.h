// The busy pointer for the length of a scope.
#pragma once

#include <QGuiApplication>

namespace rq::ui {

class BusyCursor {
  public:
    BusyCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
    ~BusyCursor() { QGuiApplication::restoreOverrideCursor(); }
    BusyCursor(const BusyCursor&) = delete;
    BusyCursor& operator=(const BusyCursor&) = delete;
};

}  // namespace rq::ui
