#include "Commands.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "DictionaryOption.h"
#include "input/Hex.h"
#include "input/InputStream.h"
#include "input/LineReader.h"
#include "input/Numbers.h"
#include "lists/Agent.h"
#include "lists/AttributeDecoder.h"
#include "text/JsonWriter.h"
#include "text/Output.h"
#include "text/StandardError.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view typeOption = "--type";
constexpr std::string_view typeNumbers[] = {"8", "16", "25", "32"};

constexpr std::string_view formsOption = "--forms";

constexpr Option decodeOptions[] = {
    {typeOption, Takes::value, typeNumbers}, {jsonOption}, {formsOption}, dictionaryOption};

constexpr std::string_view decodeHelp =
    R"(usage: bgp-communities decode [--type 8|16|25|32] [--json] [--forms]
                               [--dictionary FILE|DIR] [HEX...]

Prints the communities in the value of a path attribute: the library's text and, where it says more,
a tab and the name that --community of `read` accepts. Each HEX is one value: the octets after
flags, type and length, in hexadecimal. Without HEX, or for "-", reads values from standard input
(which may be compressed), one per line:

  HEX
  TYPE<TAB>HEX
  TYPE<TAB>HEX<TAB>anything

  --type TYPE   the path attribute type for lines without one: 8, communities (RFC 1997); 16 (the
                default), extended communities (RFC 4360); 25, IPv6-address-specific extended
                communities (RFC 5701); 32, large communities (RFC 8092)
  --json        one JSON object for each value, in the order of the input
  --forms       with --json, for types 16 and 25: also the text of each member for every combination
                of format flags, and the attribute for each selection of members
  --dictionary FILE|DIR
                operators' descriptions of their communities; lines ASN:PATTERN,DESCRIPTION,
                see the man page

A malformed or refused value is printed with the error; a malformed line is reported on standard
error. The rest is read, and the exit status is 1.

examples:
  bgp-communities decode 0002fde800000064
  bgp-communities decode --json 0002fde8000000644004fbf04cee6b28
  bgp-communities decode --type 8 ffffff0100640001
  cut -f 2 values.tsv | bgp-communities decode --json
)";

/// Decodes and prints the values of one run.
class DecodeRun {
  public:
    DecodeRun(Arguments const& arguments, Output& output)
      : output_(output)
      , json_(arguments.has(jsonOption))
      , detail_(arguments.has(formsOption) ? Detail::withForms : Detail::whole)
      , dictionary_(dictionary(arguments))
      , default_(decoder(arguments.value(typeOption).value_or("16"))) {
        if (!default_.fault.empty()) {
            throw UsageError(std::string(typeOption) + ": " + std::string(default_.fault));
        }
    }

    ExitStatus run(std::span<std::string_view const> values) {
        checkDigits(values);
        if (values.empty()) {
            decodeInput();
        }
        for (std::string_view const value : values) {
            if (value == "-") {
                decodeInput();
            } else {
                readHex(value, octets_);
                decode(*default_.decoder);
            }
        }
        return status_;
    }

  private:
    struct Choice {
        AttributeDecoder* decoder = nullptr;
        std::string_view fault; // why there is no decoder
    };

    /// Returns the decoder for an attribute type given as text.
    [[nodiscard]] Choice decoder(std::string_view type) {
        auto const number = readNumber<U8>(type);
        auto const kind = number ? communityKind(*number) : std::nullopt;
        if (!kind) {
            return {nullptr, "expected attribute type 8, 16, 25 or 32"};
        }
        auto const found = std::find_if(decoders_.begin(), decoders_.end(),
                                        [&](auto& decoder) { return decoder->kind() == *kind; });
        return {found->get(), {}};
    }

    /// Checks all values before any is decoded.
    void checkDigits(std::span<std::string_view const> values) {
        for (std::string_view const value : values) {
            if (value == "-") {
                continue;
            }
            if (auto const fault = readHex(value, octets_); !fault.empty()) {
                throw UsageError("\"" + std::string(value) + "\": " + std::string(fault));
            }
        }
    }

    void decodeInput() try {
        InputStream input("-");
        input.setBeforeWait([this] { output_.flush(); });
        LineReader lines(input);
        while (lines.next()) {
            auto const fault =
                lines.isTooLong() ? "line too long for a path attribute" : decodeLine(lines.line());
            if (!fault.empty()) {
                status_ = worse(status_, ExitStatus::malformed);
                complain(input.name() + ": line " + std::to_string(lines.number()) + ": " +
                         std::string(fault));
            }
        }
        if (!input.damage().empty()) {
            status_ = worse(status_, ExitStatus::malformed);
            complain(input.name() + ": " + input.damage());
        }
    } catch (InputError const& error) {
        status_ = ExitStatus::unreadable;
        complain(error.what());
    }

    /// Returns an error message, empty on success.
    std::string_view decodeLine(std::string_view line) {
        Choice choice = default_;
        if (std::size_t const tab = line.find('\t'); tab != std::string_view::npos) {
            choice = decoder(line.substr(0, tab));
            line.remove_prefix(tab + 1);
            line = line.substr(0, line.find('\t'));
        }
        std::string_view const fault = choice.fault.empty() ? readHex(line, octets_) : choice.fault;
        if (fault.empty()) {
            decode(*choice.decoder);
        }
        return fault;
    }

    /// Decodes and prints `octets_`.
    void decode(AttributeDecoder& decoder) {
        std::string const fault = decoder.decode(octets_);
        if (!fault.empty()) {
            status_ = worse(status_, ExitStatus::malformed);
        }
        if (json_) {
            writeJson(decoder, fault);
        } else {
            writeText(decoder, fault);
        }
    }

    void writeJson(AttributeDecoder& decoder, std::string const& fault) {
        JsonWriter json(output_.text());
        decoder.writeJson(json, octets_, fault, detail_);
        output_.endLine();
    }

    void writeText(AttributeDecoder& decoder, std::string const& fault) {
        std::string& out = output_.text();
        out += std::to_string(traitsOf(decoder.kind()).attributeType);
        out += ' ';
        appendHex(out, octets_);
        output_.endLine();
        if (fault.empty()) {
            decoder.appendText(out);
        } else {
            out.append("  error: ").append(fault);
            output_.endLine();
        }
    }

    Output& output_;
    bool const json_;
    Detail const detail_;
    Dictionary const dictionary_;
    Agent agent_;
    std::vector<std::unique_ptr<AttributeDecoder>> const decoders_ =
        attributeDecoders(agent_, &dictionary_);
    Choice const default_;
    std::vector<U8> octets_; // the current value; reused
    ExitStatus status_ = ExitStatus::allRead;
};

ExitStatus decode(Arguments const& arguments, Output& output) {
    return DecodeRun(arguments, output).run(arguments.operands());
}

} // namespace

Command const decodeCommand = {"decode",   "print the communities in values of path attributes",
                               decodeHelp, decodeOptions,
                               decode,     {}};

} // namespace BgpCommunities
