#include "DumpFiles.h"

#include <unistd.h>

#include "input/InputStream.h"
#include "mrt/MrtReader.h"
#include "text/StandardError.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view standardInput[] = {"-"};

/// Adds to `result`, also if it throws InputError.
void readDump(std::string const& path, AddPath addPath, DumpHandler& handler, Progress& progress,
              DumpResult& result) {
    auto const begun = Progress::Clock::now();
    InputStream input(path);
    input.setBeforeWait([&handler] { handler.beforeWait(); });
    ++result.files;
    handler.startFile(input.name());
    MrtReader reader(input, handler, addPath);
    try {
        while (reader.next()) {
            progress.show(input, begun);
        }
    } catch (InputError const&) {
        result.counts += reader.counts();
        throw;
    }
    result.counts += reader.counts();
}

} // namespace

DumpInput::DumpInput(Arguments const& arguments)
  : files(arguments.operands()) {
    if (files.empty()) {
        if (::isatty(STDIN_FILENO) != 0) {
            throw UsageError("no FILE given, and standard input is a terminal");
        }
        files = standardInput;
    }
    if (auto const value = arguments.value(addPathOption.name)) {
        addPath = *value == "auto" ? AddPath::automatic
                  : *value == "no" ? AddPath::no
                                   : AddPath::yes;
    }
}

DumpResult readDumps(DumpInput const& input, DumpHandler& handler) {
    DumpResult result;
    Progress progress;
    for (std::string_view const file : input.files) {
        try {
            readDump(std::string(file), input.addPath, handler, progress, result);
        } catch (InputError const& error) {
            handler.log().reportUnreadable(error.what());
        }
    }
    handler.log().summarise();
    result.status = handler.log().status();
    return result;
}

} // namespace BgpCommunities
