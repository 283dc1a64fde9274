#include "RouteWriter.h"

#include "input/Hex.h"
#include "input/Numbers.h"
#include "text/TimeText.h"

namespace BgpCommunities {

namespace {

/// The events as abbreviated by bgpdump, and in JSON.
constexpr char eventLetters[] = {'A', 'W', 'B'};
constexpr std::string_view eventNames[] = {"announced", "withdrawn", "table"};

constexpr std::string_view tsvHeader =
    "time\tmicroseconds\ttype\tpeer_address\tpeer_as\tfamily\tprefix\tpath_id\tas_path\torigin\t"
    "next_hop\tmed\tlocal_pref\tcommunities\textended_communities\tipv6_communities\t"
    "large_communities\tmeanings\terrors\tsent";
static_assert(communityKinds == 4, "each kind is a column of tsvHeader");

void appendOptional(std::string& out, std::optional<U32> number) {
    if (number) {
        appendNumber(out, *number);
    }
}

std::optional<U32> pathIdOf(Route const& route) {
    return route.hasPathId ? std::optional(route.pathId) : std::nullopt;
}

void appendAddress(std::string& out, IpAddress const& address) {
    if (address.size != 0) {
        appendText(out, address);
    }
}

/// "!02ff (truncated AS path segment)"
void appendFault(std::string& out, AttributeFault const& fault) {
    out += '!';
    appendHex(out, fault.value);
    out.append(" (").append(fault.reason).append(")");
}

/// Appends the fault of an attribute if its value is malformed; returns whether it is.
bool appendFault(std::string& out, RouteAttributes const& attributes, U8 type) {
    for (AttributeFault const& fault : attributes.faults()) {
        if (fault.type == type && !fault.truncated) {
            appendFault(out, fault);
            return true;
        }
    }
    return false;
}

/// Appends "; " between the parts of a column that begins at this offset.
void separate(std::string& out, std::size_t begin) {
    out += out.size() == begin ? "" : "; ";
}

/// Appends the faults of attributes without a column of text to a column.
void appendOtherFaults(std::string& out, std::size_t begin, RouteAttributes const& attributes) {
    for (AttributeFault const& fault : attributes.faults()) {
        if (fault.truncated || fault.type > AttributeType::localPref) {
            separate(out, begin);
            appendNumber(out, fault.type);
            appendFault(out += ' ', fault);
        }
    }
}

/// Appends the notes of the lists, separated by "; ".
void appendNotes(std::string& out, RouteTexts const& lists) {
    std::size_t const begin = out.size();
    for (ListText const* const list : lists) {
        if (list != nullptr && !list->notes.empty()) {
            separate(out, begin);
            out += list->notes;
        }
    }
}

/// Writes columns separated by tabs; an empty column becomes "-".
class Columns {
  public:
    explicit Columns(std::string& out)
      : out_(out)
      , begin_(out.size()) {}

    /// Starts the next column; append its content to the result.
    std::string& begin() {
        if (!first_) {
            end();
            out_ += '\t';
            begin_ = out_.size();
        }
        first_ = false;
        return out_;
    }

    std::string& text() { return out_; }

    /// Ends the last column.
    void end() { out_ += out_.size() == begin_ ? "-" : ""; }

  private:
    std::string& out_;
    std::size_t begin_; // of the current column
    bool first_ = true;
};

/// Appends AS path, origin, next hop, MED and local preference.
void appendTextAttributes(Columns& columns, RouteLine const& line) {
    RouteAttributes const& attributes = line.attributes;
    if (!appendFault(columns.begin(), attributes, AttributeType::asPath)) {
        columns.text() += line.asPath;
    }
    if (!appendFault(columns.begin(), attributes, AttributeType::origin) && attributes.origin()) {
        columns.text() += nameOf(*attributes.origin());
    }
    if (!appendFault(columns.begin(), attributes, AttributeType::nextHop)) {
        appendAddress(columns.text(), attributes.nextHop(line.route));
    }
    if (!appendFault(columns.begin(), attributes, AttributeType::med)) {
        appendOptional(columns.text(), attributes.med());
    }
    if (!appendFault(columns.begin(), attributes, AttributeType::localPref)) {
        appendOptional(columns.text(), attributes.localPref());
    }
}

} // namespace

void RouteWriter::startFile(std::string_view name) {
    source_.clear();
    JsonWriter(source_).key("file").string(name);
}

void RouteWriter::writeHeader() {
    if (format_ == RouteFormat::tsv) {
        output_.text() += tsvHeader;
        output_.endLine();
    }
}

void RouteWriter::write(RouteLine const& line) {
    switch (format_) {
    case RouteFormat::text:
        writeText(line);
        break;
    case RouteFormat::tsv:
        writeTsv(line);
        break;
    case RouteFormat::json:
        writeJson(line);
        break;
    }
    output_.endLine();
}

std::string_view RouteWriter::timeText(Microseconds time) {
    if (time != timeOf_ || time_.empty()) {
        time_.clear();
        appendTime(time_, time);
        timeOf_ = time;
    }
    return time_;
}

void RouteWriter::writeText(RouteLine const& line) {
    std::string& out = output_.text();
    Columns columns(out);
    columns.begin() += timeText(line.at.time());
    columns.begin() += eventLetters[static_cast<std::size_t>(line.event)];
    appendText(columns.begin(), line.peer);
    appendText(columns.begin(), line.route.family);
    appendText(columns.begin(), line.route);
    appendOptional(columns.begin(), pathIdOf(line.route));
    appendTextAttributes(columns, line);
    for (ListText const* const list : line.lists) {
        columns.begin() += list != nullptr ? std::string_view(list->text) : std::string_view();
    }
    std::size_t const notes = columns.begin().size();
    appendNotes(out, line.lists);
    appendOtherFaults(out, notes, line.attributes);
    columns.end();
}

void RouteWriter::writeTsv(RouteLine const& line) {
    std::string& out = output_.text();
    auto const next = [&out]() -> std::string& { return out += '\t'; };
    appendNumber(out, line.at.seconds);
    appendNumber(next(), line.at.microseconds);
    next() += eventLetters[static_cast<std::size_t>(line.event)];
    appendAddress(next(), line.peer.address);
    bool const peerKnown = line.peer.address.size != 0;
    appendOptional(next(), peerKnown ? std::optional(line.peer.as) : std::nullopt);
    appendText(next(), line.route.family);
    appendText(next(), line.route);
    appendOptional(next(), pathIdOf(line.route));
    next() += line.asPath;
    auto const origin = line.attributes.origin();
    next() += origin ? nameOf(*origin) : std::string_view();
    appendAddress(next(), line.attributes.nextHop(line.route));
    appendOptional(next(), line.attributes.med());
    appendOptional(next(), line.attributes.localPref());
    for (ListText const* const list : line.lists) {
        next() += list != nullptr && list->fault.empty() ? std::string_view(list->text)
                                                         : std::string_view();
    }
    appendNotes(next(), line.lists);
    next();
    appendErrors(line);
    next() += line.sentByUs ? "1" : "";
}

/// "2 !02ff (truncated AS path segment); 16 !0002 (length 2 is not a multiple of 8)"
void RouteWriter::appendErrors(RouteLine const& line) {
    std::string& out = output_.text();
    std::size_t const column = out.size();
    auto const begin = [&](U8 type) {
        separate(out, column);
        appendNumber(out, type);
        out += ' ';
    };
    for (AttributeFault const& fault : line.attributes.faults()) {
        begin(fault.type);
        appendFault(out, fault);
    }
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        if (line.lists[kind] != nullptr && !line.lists[kind]->fault.empty()) {
            begin(communityKindTraits[kind].attributeType);
            out += line.lists[kind]->text;
        }
    }
}

namespace {

/// Writes the members of the JSON object of a route.
class RouteObject {
  public:
    RouteObject(JsonWriter& json, std::string& text)
      : json_(json)
      , text_(text) {}

    template <class Value>
    void string(std::string_view key, Value const& value) {
        text_.clear();
        appendText(text_, value);
        json_.key(key).string(text_);
    }

    void number(std::string_view key, std::optional<U32> number) {
        if (number) {
            json_.key(key).number(*number);
        }
    }

    void peer(Peer const& peer) {
        if (peer.address.size == 0) {
            json_.key("peer").null();
            return;
        }
        json_.key("peer").beginObject();
        string("address", peer.address);
        json_.key("as").number(peer.as).endObject();
    }

    void attributes(RouteLine const& line) {
        RouteAttributes const& attributes = line.attributes;
        if (auto const& path = attributes.asPath()) {
            json_.key("asPath").string(line.asPath);
            number("originAs", originAs(*path));
        }
        if (attributes.origin()) {
            json_.key("origin").string(nameOf(*attributes.origin()));
        }
        if (auto const nextHop = attributes.nextHop(line.route); nextHop.size != 0) {
            string("nextHop", nextHop);
        }
        number("med", attributes.med());
        number("localPref", attributes.localPref());
        if (!attributes.faults().empty()) {
            faults(attributes);
        }
    }

    void lists(RouteTexts const& lists) {
        json_.key("communities").beginObject();
        for (std::size_t kind = 0; kind < communityKinds; ++kind) {
            if (lists[kind] != nullptr) {
                json_.key(communityKindTraits[kind].key).raw(lists[kind]->text);
            }
        }
        json_.endObject();
    }

  private:
    void faults(RouteAttributes const& attributes) {
        json_.key("errors").beginArray();
        for (AttributeFault const& fault : attributes.faults()) {
            json_.beginObject().key("attribute").number(fault.type);
            json_.key("octets").octets(fault.value);
            json_.key("error").string(fault.reason).endObject();
        }
        json_.endArray();
    }

    JsonWriter& json_;
    std::string& text_;
};

} // namespace

void RouteWriter::writeJson(RouteLine const& line) {
    JsonWriter json(output_.text());
    RouteObject object(json, text_);
    json.beginObject();
    json.raw(source_);
    json.key("record").number(line.at.number);
    json.key("time").string(timeText(line.at.time()));
    json.key("type").string(eventNames[static_cast<std::size_t>(line.event)]);
    if (line.sentByUs) {
        json.key("sent").boolean(true);
    }
    object.peer(line.peer);
    if (!line.peerFields.empty()) {
        json.raw(line.peerFields);
    }
    if (line.originated != 0) {
        text_.clear();
        appendTime(text_, Microseconds{line.originated} * 1000000);
        json.key("originated").string(text_);
    }
    object.string("family", line.route.family);
    object.string("prefix", line.route);
    object.number("pathId", pathIdOf(line.route));
    object.attributes(line);
    object.lists(line.lists);
    json.endObject();
}

} // namespace BgpCommunities
