// The options with which the readers make their tokenizers.
#pragma once

#include <memory>

#include "library/text/parser.h"

namespace lumo::test {

enum class Dialect { hugin, dsc, dxpress, ergo, xml };
inline constexpr int dialects = 5;

class Options {
public:
    explicit Options(Dialect dialect) {
        const bool xml = dialect == Dialect::xml;
        table_.reset(xml ? MakeXMLCharProps() : MakeStdCharProps_kt());
        const char* const punctuation[] = {"\"(){}=,;:|", "\"(){}[]=,;:|", "(){}[]=,;:|\"", "\"",
                                           ""};
        SetCharProp_kt(punctuation[static_cast<int>(dialect)], CharPropPunct, table_.get());
        if (dialect == Dialect::hugin) comments("%", '%', 0, 1);
        if (dialect == Dialect::dsc) comments("/", '/', '/', 2);
        if (dialect == Dialect::ergo) comments("/", 0, 0, 2);
        if (xml) comments("", '/', '/', 1);
        record.charProps = table_.get();
        record.xmlComments = record.xmlText = xml;
    }

    ParserOptions_kt record;

private:
    void comments(const char* starts, char first, char second, int mode) {
        SetCharProp_kt(starts, CharPropComment, table_.get());
        record.commentChar1 = first;
        record.commentChar2 = second;
        record.commentMode = mode;
    }
    std::unique_ptr<short[]> table_;
};

}  // namespace lumo::test
