#pragma once

#include <QString>

// What went wrong with a file, in the user's language. The C library's own texts are English
// on every platform, and a copy that fails for lack of space must not read "Unknown error".
namespace FileSystemError {

// A Russian sentence for the error number `code` (errno), without a final period.
QString describe(int code);

} // namespace FileSystemError
