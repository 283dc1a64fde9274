#include "Commands.h"

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <MoxStash/StoreManager.h>

#include "DictionaryOption.h"
#include "lists/ListKinds.h"
#include "lists/StoredLists.h"
#include "text/JsonWriter.h"
#include "text/ListFormatter.h"
#include "text/Output.h"
#include "text/StandardError.h"

namespace BgpCommunities {

using MoxStash::StoreManager;

namespace {

constexpr std::string_view followOption = "--follow";

constexpr Option showOptions[] = {{jsonOption}, {followOption}, dictionaryOption};

constexpr std::string_view showHelp =
    R"(usage: bgp-communities show [--json] [--follow] [--dictionary FILE|DIR] STORE

Prints the lists of communities in a store written by `bgp-communities stash` or an agent: a file
or, as shm:/NAME, a POSIX shared-memory segment. Prints one line per list, separated by tabs: the
number of attributes that carried it, its kind and its text. Extended communities from a store print
as type and octets.

  --json    one JSON object per list, as printed by `decode --json`, preceded by the generation of
            the store, the kind and the uses
  --follow  print again whenever a new store is published, until interrupted; waits for a store that
            does not exist yet
  --dictionary FILE|DIR
            with --json, operators' descriptions of their communities; lines
            ASN:PATTERN,DESCRIPTION, see the man page

If the store is damaged, the error is reported, nothing is printed, and the exit status is 3.

examples:
  bgp-communities show lists.store
  bgp-communities show --json --follow shm:/lists
)";

/// The lists of one kind in a store.
class StoredLists {
  public:
    virtual ~StoredLists() = default;

    /// Rebuilds the lists; returns false if the store has none of this kind. Throws StoreException.
    virtual bool rebuild(StoreManager& store) = 0;
    virtual void print(Output& output) = 0;
    virtual void printJson(Output& output, U64 generation) = 0;
};

template <class Kind>
class StoredListsOf final : public StoredLists {
  public:
    explicit StoredListsOf(Dictionary const& dictionary)
      : formatter_(&dictionary) {}

    bool rebuild(StoreManager& store) override {
        return readStoredLists<Kind>(store, [&](auto list, U64 uses) {
            rows_.push_back({std::move(list), uses});
        });
    }

    void print(Output& output) override {
        for (Row const& row : rows_) {
            std::string& out = output.text();
            out += std::to_string(row.uses);
            out += '\t';
            out += traitsOf(Kind::kind).key;
            out += '\t';
            out += row.list->toStrep();
            output.endLine();
        }
    }

    void printJson(Output& output, U64 generation) override {
        for (Row const& row : rows_) {
            JsonWriter json(output.text());
            json.beginObject();
            json.key("generation").number(generation);
            json.key("kind").string(traitsOf(Kind::kind).key);
            json.key("uses").number(row.uses);
            formatter_.writeJson(json, *row.list, Detail::whole);
            json.endObject();
            output.endLine();
        }
    }

  private:
    using List = typename Kind::List;

    struct Row {
        typename List::Ptr list;
        U64 uses;
    };

    std::vector<Row> rows_;
    ListFormatter<Kind> formatter_;
};

/// All lists of a store, rebuilt in the memory of this process: a consistent snapshot, even if the
/// store is replaced meanwhile. Throws StoreException.
class RebuiltStore {
  public:
    RebuiltStore(std::string const& name, Dictionary const& dictionary)
      : store_(name) {
        forEachKind([&]<class Kind>(Kind) {
            kinds_.push_back(std::make_unique<StoredListsOf<Kind>>(dictionary));
        });
        store_.sharingIs(true);
        bool any = false;
        for (auto const& kind : kinds_) {
            any = kind->rebuild(store_) || any;
        }
        store_.validateVersionAnchor();
        if (!any) {
            throw MoxStash::StoreException(name, "holds no lists of communities");
        }
    }

    void print(Output& output, bool json) {
        for (auto const& kind : kinds_) {
            if (json) {
                kind->printJson(output, store_.versionAnchor());
            } else {
                kind->print(output);
            }
        }
        output.flush();
    }

    [[nodiscard]] bool isCurrent() const { return store_.isCurrent(); }

  private:
    StoreManager store_;
    std::vector<std::unique_ptr<StoredLists>> kinds_;
};

std::unique_ptr<RebuiltStore> rebuild(std::string const& name, Dictionary const& dictionary) {
    return readCurrent([&] { return std::make_unique<RebuiltStore>(name, dictionary); });
}

[[noreturn]] void follow(std::string const& name, Dictionary const& dictionary, bool json,
                         Output& output) {
    std::unique_ptr<RebuiltStore> shown;
    std::string complaint;
    for (;; std::this_thread::sleep_for(std::chrono::milliseconds(100))) {
        if (shown && shown->isCurrent()) {
            continue;
        }
        try {
            shown = rebuild(name, dictionary);
            shown->print(output, json);
            complaint.clear();
        } catch (MoxStash::StoreException const& error) {
            // Report an error once, not ten times a second.
            if (complaint != error.what()) {
                complaint = error.what();
                complain(complaint);
            }
        }
    }
}

ExitStatus show(Arguments const& arguments, Output& output) {
    if (arguments.operands().size() != 1) {
        throw UsageError("show takes one STORE");
    }
    std::string const name(arguments.operands()[0]);
    bool const json = arguments.has(jsonOption);
    Dictionary const meanings = dictionary(arguments);
    if (arguments.has(followOption)) {
        follow(name, meanings, json, output);
    }
    rebuild(name, meanings)->print(output, json);
    return ExitStatus::allRead;
}

} // namespace

Command const showCommand = {"show", "print the lists in a store", showHelp, showOptions, show};

} // namespace BgpCommunities
