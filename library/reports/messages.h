// The reports of the reports themselves, of memory and of files.
#pragma once

#include "library/reports/message.h"

namespace lumo {

struct ReportsMessages {
    using enum MessageKind;
    // clang-format off
    Message<> sixteenBits{-4136, error, "the text is in a 16-bit Unicode encoding, which cannot be "
        "read; save it as UTF-8 or plain text", "save the file as UTF-8 or in a Windows code page: "
        "UTF-16 is not read", {"\xFF\xFE", 0, 0, "hugin"}};
    Message<> outOfMemory{-5000, fatal, "out of memory",
        "there is not enough memory for the file or a table; what was read before is kept. Read "
        "fewer files at a time, or use a larger machine"};
    Message<const char*> outOfMemoryReading{-5000, memoryFatal, "reading '%s'", outOfMemory.cure};
    Message<const char*, const char*> cannotOpenFile{-5001, notice, "cannot open '%s': %s",
        "check the path and its permissions"};
    Message<const char*, const char*> cannotReadFile{-5002, notice, "cannot read '%s': %s",
        "the device or the network fails, or it is a folder. Check it"};
    Message<long long, const char*> zeroByte{-5003, warning,
        "zero byte at offset %lld; '%s' is read only up to there",
        "the file is damaged or no text; what lies behind the zero byte is lost. Get it again"};
    Message<const char*> internalError{-5005, fatal, "internal error: %s",
        "please report the file"};
    Message<const char*, const char*, int> failedAssertion{-5006, warning, "internal check failed: "
        "%s (%s, line %d)", internalError.cure};
    Message<int> tooManyErrors{-5020, error, "too many errors (%d), reading stops here",
        "the file is damaged throughout, or of another format. What was read is kept. Correct the "
        "first of them, or choose another format with `--from`"};
    Message<long long> moreWarnings{-5021, notice, "%lld further warning[ or notice is|s and "
        "notices are] not shown", "10,000 are shown an import. Correct those that are, or ask for "
        "errors alone with `--quiet`"};
    Message<long long> moreNotes{-5021, notice, "%lld further note[ is|s are] not shown",
        moreWarnings.cure};
    Message<const char*> unknownSummary{-5022, notice, "unknown words that occur again: %s",
        "each unknown word is shown once; this line says how often they came. Nothing needs to be "
        "done, unless one is misspelt"};
    Message<> importCancelled{-5023, fatal, "import cancelled",
        "the application stopped the import. Start it again"};
    // clang-format on
};

namespace msg {
inline constexpr ReportsMessages reports;
}

}  // namespace lumo
