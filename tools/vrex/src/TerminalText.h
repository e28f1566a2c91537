#pragma once
// Text from the server made safe to print: a serial number or a log
// message may hold control characters, and escape sequences among them can
// retitle, clear or reprogram the terminal that shows a table.

#include <string>
#include <string_view>

namespace vrex::cli {

enum class LineBreaks { Escape, Keep };

/// `text` with every control character (C0, DEL and the C1 range of UTF-8)
/// written as a visible escape: ESC as "\x1b", U+009B as "\u009b". Tabs, line
/// feeds and carriage returns are escaped too unless `lineBreaks` keeps them
/// (CSV quotes them).
std::string Printable(std::string_view text, LineBreaks lineBreaks = LineBreaks::Escape);

}  // namespace vrex::cli
