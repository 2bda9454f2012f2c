#include "app/convert.h"

#include <filesystem>
#include <ostream>
#include <system_error>

#include "app/overwrite.h"
#include "app/packer.h"
#include "app/suggest.h"
#include "app/table.h"
#include "export/beliefs.h"
#include "export/diff.h"
#include "export/picture.h"
#include "formats/import.h"
#include "formats/shared/describe.h"
#include "formats/shared/placing.h"
#include "library/utilities/paths.h"
#include "library/utilities/system.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

constexpr std::size_t mostStatesNamed = 40;

std::string WriteError(const std::string& path, int error) {
    if (error == 0) return {};
    return "cannot write '" + Visible(path) + "': " + std::generic_category().message(error);
}

/// Reads what was written, by the letter of its format but for what only lenient reading keeps, and
/// compares it. Empty when the nets are the same but for what the writer announced.
std::string Verify(const ImportResult& result, const std::string& output, const Options& options) {
    const FormatInfo* const format = FindFormat(std::string_view(options.writer->name));
    if (format == nullptr) return "'" + Visible(output) + "' cannot be read back";
    ImportOptions reading;
    reading.format = format;
    reading.condense = true;
    const ImportResult read = Import(FromFile(output), reading);
    if (read.net == nullptr || read.status() >= StatusEN::errors)
        return "'" + Visible(output) + "' was written, but cannot be read back without an error";
    const auto lossesOf = options.writer->losses;
    const Losses losses = lossesOf == nullptr ? Losses() : lossesOf(*result.net);
    const Comparison found =
        CompareNets(*result.net, *read.net, {.losses = lossesOf == nullptr ? nullptr : &losses});
    if (found.isSame()) return {};
    std::string text = "'" + Visible(output) + "' is not the net that was read:";
    for (const DiffLine& line : DiffLines({result, read, found}, options.verbose))
        text += std::string("\n") + line.sign + " " + line.text;
    return text;
}

void TellLosses(const ImportResult& result, const Options& options, Console& console) {
    const Writer& writer = *options.writer;
    if (writer.losses == nullptr || options.quiet) return;
    for (const std::string& note : LossNotes(writer.losses(*result.net), writer.title))
        console.note(note);
}

/// The observation of a text as "smoke=yes"; what is wrong with it, empty when nothing is.
std::string ReadObservation(const Bnet_bn& net, const std::string& text, Observation& seen) {
    std::string mistake = "--evidence " + Visible(text) + ": NODE=STATE is needed";
    for (std::size_t equal = text.find('='); equal != text.npos;
         equal = text.find('=', equal + 1)) {
        seen.node = FindNode(net, text.substr(0, equal), mistake);
        if (seen.node == nullptr) continue;
        if (!HasBeliefs(*seen.node))
            return "node '" + Visible(text.substr(0, equal)) + "' has no states";
        const std::string wanted = ToUtf8(text.substr(equal + 1));
        const Varbl_bn& variable = seen.node->variable;
        std::vector<std::string> known;
        for (int state = 0; state < seen.node->numStates(); ++state) {
            const char* const name =
                variable.stateNames == nullptr ? nullptr : variable.stateNames[state];
            known.push_back(ToUtf8(StateLabel(variable, state)));
            seen.state = state;
            if (known.back() == wanted || (name != nullptr && wanted == name)) return {};
        }
        if (known.size() > mostStatesNamed) known.resize(mostStatesNamed);
        mistake = "node '" + Visible(text.substr(0, equal)) + "' has no state '" + Visible(wanted) +
                  "'" + DidYouMean(wanted, known) + "; its states: ";
        for (const std::string& label : known)
            mistake += (&label == &known.front() ? "" : ", ") + Visible(label);
        return mistake;
    }
    return mistake;
}

/// Makes the picture that is wished, and says what could not be as it was.
Failure MakeWished(const Bnet_bn& net, const Options& options, Console& console, Picture& picture) {
    const PictureOptions& wished = options.picture;
    PictureWish wish;
    wish.layout = options.layout;
    wish.width = wished.width;
    wish.letters = wished.letters;
    wish.isGrey = wished.grey;
    for (const std::string& name : wished.only) {
        std::string mistake;
        wish.only.push_back(FindNode(net, name, mistake));
        if (wish.only.back() == nullptr) return {mistake, ExitUsage};
    }
    if (!wish.only.empty())
        wish.only =
            PartOf(net, wish.only, wished.around == nullptr ? Arounds().front() : *wished.around);
    Beliefs beliefs;
    if (wished.beliefs) {
        std::vector<Observation> evidence(wished.evidence.size());
        for (std::size_t i = 0; i < evidence.size(); ++i) {
            const std::string mistake = ReadObservation(net, wished.evidence[i], evidence[i]);
            if (!mistake.empty()) return {mistake, ExitUsage};
            for (std::size_t k = 0; k < i; ++k)
                if (evidence[k].node == evidence[i].node)
                    return {
                        "--evidence names node '" + Visible(evidence[i].node->name()) + "' twice",
                        ExitUsage};
        }
        const std::vector<const Bnode_bn*> all(net.nodes.begin(), net.nodes.end());
        beliefs = ComputeBeliefs(net, wish.only.empty() ? all : wish.only, evidence);
        if (!beliefs.failure.empty())
            return {"the distributions cannot be shown: " + beliefs.failure};
        wish.beliefs = &beliefs;
    }
    picture = MakePicture(net, wish);
    if (options.quiet) return {};
    for (const std::string& note : beliefs.notes) console.note(note);
    for (const std::string& note : picture.notes) console.note(note);
    const auto lacking = options.writer->lacking;
    if (const std::string text = lacking == nullptr ? "" : lacking(picture); !text.empty())
        console.note(text);
    if (!picture.insteadOf.empty())
        console.note("drawn by the automatic layout: " + picture.insteadOf +
                     " where the file has the nodes, which --layout file keeps");
    return {};
}

constexpr const char* standardOutput = "standard output";
int standardOutputError = 0;

int WriteOut(const WriteFunction& write) {
    const int error = WriteToDescriptor(system::StandardOutput, write);
    if (standardOutputError == 0) standardOutputError = error;
    return error;
}

}  // namespace

int StandardOutputError() { return standardOutputError; }

std::optional<FileIdentity> InputIdentity(const std::string& file) {
    return file == "-" ? IdentityOf(system::StandardInput) : IdentityOf(file);
}

std::optional<FileIdentity> OutputIdentity(const std::string& output) {
    return output == "-" ? IdentityOf(system::StandardOutput) : IdentityOf(output);
}

Failure Convert(const ImportResult& result, const InputFile& file, const Options& options,
                Console& console) {
    const Writer& writer = *options.writer;
    if (result.net == nullptr && !writer.withoutNet) return {};
    const std::string output = OutputFor(options, file);
    const std::optional<FileIdentity> written = OutputIdentity(output);
    if (written && written == InputIdentity(result.file) && result.status() >= StatusEN::errors)
        return {"'" + Visible(output) + "' is not written over, as it was read with errors"};
    std::vector<std::string> reduced;
    if (result.net != nullptr) reduced = Reduce(*result.net, options.reduction);
    if (writer.losses != nullptr && options.layout == LayoutEN::automatic) LayOut(*result.net);
    if (std::string why = WhyNotWrittenOver(output, options); !why.empty()) return {why};
    Picture picture;
    if (writer.draw != nullptr) {
        if (Failure failure = MakeWished(*result.net, options, console, picture);
            !failure.text.empty())
            return failure;
    }
    if (options.intoFolder) {
        std::error_code seen;  // when the file cannot be written
        std::filesystem::create_directories(PathOf(output).parent_path(), seen);
    }
    const auto write = [&](std::ostream& out) {
        if (writer.draw != nullptr)
            writer.draw(*result.net, picture, out);
        else
            writer.write(result, out);
    };
    bool isInPlace = false;
    const std::string failure = WriteOutput(output, write, options.force, &isInPlace);
    if (!failure.empty()) return {failure};
    if (isInPlace)
        console.note("'" + Visible(output) +
                     "' is written where it stands, not in one step: its folder takes no new file");
    if (output != "-") console.done("written to " + Visible(output));
    if (!options.quiet)
        for (const std::string& note : reduced) console.note(note);
    TellLosses(result, options, console);
    return {options.verify && result.net != nullptr ? Verify(result, output, options)
                                                    : std::string()};
}

std::string WriteOutput(const std::string& output, const WriteFunction& write, bool force,
                        bool* isInPlace) {
    if (output == "-") return WriteStandardOutput(write);
    const bool isPacked = IsNamedPacked(output);
    if (isPacked && WhyNotPacked() != nullptr)
        return "cannot write '" + Visible(output) + "': " + WhyNotPacked();
    const WrittenFile written =
        WriteToFile(output, isPacked ? Packed(write) : write,
                    {.replacesReadOnly = force, .unfinished = system::RemoveWhenEnded});
    if (isInPlace != nullptr) *isInPlace = written.isInPlace;
    return WriteError(output, written.error);
}

std::string WriteStandardOutput(const WriteFunction& write) {
    return WriteError(standardOutput, WriteOut(write));
}

std::string WriteStandardOutput(const std::string& text) {
    return WriteStandardOutput([&text](std::ostream& out) { out << text; });
}

}  // namespace lumo::app
