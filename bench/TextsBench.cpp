#include "Bench.h"
#include "Samples.h"
#include "World.h"

#include <Mox/Assert.h>
#include <Mox/String.h>
#include <Routing/RouteMap/PosixRegex.h>

#include <charconv>
#include <cstring>
#include <regex.h>
#include <string>
#include <string_view>
#include <vector>

namespace Bench {

namespace {

using namespace Routing::Bgp;

// ---- Text ---------------------------------------------------------------------------------------

/// A text in a local buffer, with numbers by std::to_chars and without bounds checks.
class PlainText {
  public:
    PlainText& operator<<(std::string_view text) {
        std::memcpy(end_, text.data(), text.size());
        end_ += text.size();
        return *this;
    }

    PlainText& operator<<(U32 number) { return digits(number, 10); }

    PlainText& digits(U32 number, int base) {
        end_ = std::to_chars(end_, start_ + sizeof start_, number, base).ptr;
        return *this;
    }

    /// All sixteen digits.
    PlainText& octets(U64 number) {
        for (int shift = 60; shift >= 0; shift -= 4) {
            *end_++ = "0123456789abcdef"[number >> shift & 0xf];
        }
        return *this;
    }

    std::string_view text() const { return {start_, static_cast<std::size_t>(end_ - start_)}; }

  private:
    char start_[2048];
    char* end_ = start_;
};

void write(PlainText& out, U32 value) {
    out << (value >> 16) << ":" << (value & 0xffff);
}

void write(PlainText& out, Acl::CommunityValue const& value) {
    out << value.globalAdministrator() << ":" << value.localData1() << ":" << value.localData2();
}

void write(PlainText& out, ExtCommContent const& value) {
    auto const octets = value.community();
    bool const target = (octets >> 48) == static_cast<U64>(Kind::routeTarget);
    out << (target ? "<RouteTarget2ByteASN " : "<RouteOrigin2ByteASN ")
        << static_cast<U32>(octets >> 32 & 0xffff) << ":" << static_cast<U32>(octets) << " 0x";
    out.octets(octets) << ">";
}

/// Appends an address without a run of zero groups.
void write(PlainText& out, ExtCommIp6Content const& value) {
    out << "<extCommIp6PktTypeTransIpv6Address extCommIp6PktSubtypeRouteTarget addr=";
    for (unsigned group = 0; group < 8; ++group) {
        out << (group == 0 ? "" : ":");
        out.digits(value.addr().group(group), 16);
    }
    out << " localAdmin=" << U32{value.localAdmin()} << ">";
}

template <class Member>
void writeAll(PlainText& out, std::vector<Member> const& members) {
    std::string_view before;
    for (auto const& member : members) {
        out << before;
        write(out, member);
        before = " ";
    }
}

template <class Member>
constexpr bool bracketed =
    std::is_same_v<Member, ExtCommContent> || std::is_same_v<Member, ExtCommIp6Content>;

/// The list to write, as a library object and as plain members.
template <class Member>
struct OneList {
    OneList()
      : world(false)
      , members(lists<Member>(8, 1).members())
      , list(world.list(std::span<Member const>(members))) {}

    World world;
    std::vector<Member> members;
    Mox::PtrConst<typename KindOf<Member>::List> list;
};

template <class Member>
class ListText {
  public:
    void operator()(std::size_t) {
        auto const text = one_.list->toStrep();
        keep(text.data());
    }

  private:
    OneList<Member> one_;
};

/// Writes the same text by a loop of std::to_chars.
template <class Member>
class ListTextReference {
  public:
    ListTextReference() { MOX_ASSERT(text() == one_.list->toStrep()); }

    void operator()(std::size_t) {
        auto const result = text();
        keep(result.data());
    }

  private:
    Mox::String text() const {
        PlainText out;
        out << (bracketed<Member> ? "[ " : "");
        writeAll(out, one_.members);
        out << (bracketed<Member> ? " ]" : "");
        return Mox::String(out.text());
    }

    OneList<Member> one_;
};

// ---- Path attribute -----------------------------------------------------------------------------

template <class List>
Mox::String attribute(List const& list) {
    return list.serialize();
}

Mox::String attribute(ExtCommList const& list) {
    return list.serialize(ExtCommList::Serialization(ExtCommList::Serialization::all));
}

Mox::String attribute(ExtCommIp6List const& list) {
    return list.serialize(true);
}

template <class Member>
class ListAttribute {
  public:
    void operator()(std::size_t) {
        auto const octets = attribute(*one_.list);
        keep(octets.data());
    }

  private:
    OneList<Member> one_;
};

/// Writes the same octets: a header and a copy of the received value.
template <class Member>
class ListAttributeReference {
  public:
    ListAttributeReference()
      : octets_(octets(std::span<Member const>(one_.members))) {
        MOX_ASSERT(attribute() == Bench::attribute(*one_.list));
    }

    void operator()(std::size_t) {
        auto const result = attribute();
        keep(result.data());
    }

  private:
    Mox::String attribute() const {
        char buffer[256] = {'\xc0', type, static_cast<char>(octets_.size())};
        std::memcpy(buffer + 3, octets_.data(), octets_.size());
        return Mox::String(std::string_view(buffer, 3 + octets_.size()));
    }

    static constexpr char type = std::is_same_v<Member, U32>                   ? 8
                                 : std::is_same_v<Member, Acl::CommunityValue> ? 32
                                 : std::is_same_v<Member, ExtCommContent>      ? 16
                                                                               : 25;
    OneList<Member> one_;
    std::string octets_;
};

// ---- Regular expression -------------------------------------------------------------------------

/// An expression that matches a policy text of the list, or no text.
char const* expression(bool matching) {
    return matching ? "(^| )64500:[0-9]+( |$)" : "(^| )64501:[0-9]+( |$)";
}

/// Matches the same list again.
template <class Member>
class ListRegex {
  public:
    explicit ListRegex(bool matching)
      : regex_(expression(matching)) {
        MOX_ASSERT(one_.list->matchCommunitiesRegex(&regex_) == matching);
    }

    void operator()(std::size_t) { keep(one_.list->matchCommunitiesRegex(&regex_)); }

  private:
    OneList<Member> one_;
    Routing::RouteMap::PosixRegex regex_;
};

/// Calls regexec() once on the text of the list.
class ListRegexReference {
  public:
    explicit ListRegexReference(bool matching) {
        MOX_ASSERT(regcomp(&regex_, expression(matching), REG_EXTENDED | REG_NOSUB) == 0);
        PlainText out;
        auto const standard = lists<U32>(8, 1);
        writeAll(out, standard.members());
        text_ = out.text();
    }
    ListRegexReference(ListRegexReference const&) = delete;
    ListRegexReference& operator=(ListRegexReference const&) = delete;
    ~ListRegexReference() { regfree(&regex_); }

    void operator()(std::size_t) { keep(regexec(&regex_, text_.c_str(), 0, nullptr, 0)); }

  private:
    regex_t regex_;
    std::string text_;
};

template <class Member>
void addKind() {
    std::string const kind(KindOf<Member>::name);
    add({"listText/" + kind + "/library/8", work<ListText<Member>>()});
    add({"listText/" + kind + "/toChars/8", work<ListTextReference<Member>>()});
    add({"listAttribute/" + kind + "/library/8", work<ListAttribute<Member>>()});
    add({"listAttribute/" + kind + "/copy/8", work<ListAttributeReference<Member>>()});
}

} // namespace

void addTexts() {
    forEachKind([]<class Member>() { addKind<Member>(); });
    for (bool const matching : {false, true}) {
        std::string const outcome = matching ? "match/" : "noMatch/";
        add({"listRegex/" + outcome + "standard/8", work<ListRegex<U32>>(matching)});
        add({"listRegex/" + outcome + "extended/8", work<ListRegex<ExtCommContent>>(matching)});
        add({"listRegex/" + outcome + "regexec/8", work<ListRegexReference>(matching)});
    }
}

} // namespace Bench
