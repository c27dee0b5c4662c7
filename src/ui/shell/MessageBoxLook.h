#pragma once

class QMessageBox;

namespace MessageBoxLook {

// The studio's look for an informational message box: the dark appearance and one "ОК" in the
// primary style, which Escape also chooses.
void apply(QMessageBox &box);

} // namespace MessageBoxLook
