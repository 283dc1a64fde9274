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

Prints the lists of communities that `bgp-communities stash`, or an agent, left in a store: a file
or, as shm:/NAME, a POSIX shared-memory segment. For each list a line: how many attributes carried
it, its kind, and its text; between the three a tab. What is in a store is values and classes:
extended communities print as their type and octets.

  --json    one JSON object for each list, as `decode --json` prints it, with the generation of the
            store, the kind and the uses before it
  --follow  print again whenever a new store has been published, until interrupted; a store that is
            not there yet is waited for
  --dictionary FILE|DIR
            with --json, what operators say that their communities mean; lines
            ASN:PATTERN,DESCRIPTION, as the man page describes them

A store that is damaged is told as such, and nothing of it is printed; the exit status is 3.

examples:
  bgp-communities show lists.store
  bgp-communities show --json --follow shm:/lists
)";

/** The lists of one kind that are in a store. */
class StoredLists {
  public:
    virtual ~StoredLists() = default;

    /** Rebuilds them; false if the store has none of the kind. Throws StoreException. */
    virtual bool rebuild(StoreManager& store) = 0;
    virtual void print(Output& output) = 0;
    virtual void printJson(Output& output, std::uint64_t generation) = 0;
};

template <class Kind>
class StoredListsOf final : public StoredLists {
  public:
    explicit StoredListsOf(Dictionary const& dictionary)
      : formatter_(&dictionary) {}

    bool rebuild(StoreManager& store) override {
        return readStoredLists<Kind>(store, [&](auto list, std::uint64_t uses) {
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

    void printJson(Output& output, std::uint64_t generation) override {
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
        std::uint64_t uses;
    };

    std::vector<Row> rows_;
    ListFormatter<Kind> formatter_;
};

/**
 * A store, all of it, rebuilt: what is in the memory of this process is what was published,
 * whatever becomes of the store meanwhile. Throws StoreException.
 */
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
            // Once, not ten times a second.
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
