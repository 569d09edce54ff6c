// Number boxes that hold only digits.
#pragma once

class QLineEdit;

namespace rq {

// Removes at once whatever is typed or pasted into the field that is not a
// digit; the caret stays after the text that was kept.
void keepOnlyDigits(QLineEdit* field);

}  // namespace rq
