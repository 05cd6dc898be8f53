#pragma once

class QCoreApplication;

namespace platform {

/// Puts the toolkit's own texts, such as the menu of a text field, into the language of the
/// program's texts, where the system has a translation of the toolkit. To be called on the main
/// thread before the first window is made.
void translateToolkit(QCoreApplication& application);

} // namespace platform
