#include "DumpFiles.h"

#include "InputStream.h"
#include "MrtReader.h"
#include "StandardError.h"

namespace BgpCommunities {

namespace {

/** Throws InputError, when `result` has what could be read until then. */
void readDump(std::string const& path, DumpHandler& handler, Progress& progress,
              DumpResult& result) {
    auto const begun = Progress::Clock::now();
    InputStream input(path);
    ++result.files;
    handler.fileIs(input.name());
    MrtReader reader(input, handler);
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

std::span<std::string_view const> dumpFiles(Arguments const& arguments) {
    if (arguments.operands().empty()) {
        throw UsageError("no FILE is named");
    }
    return arguments.operands();
}

DumpResult readDumps(std::span<std::string_view const> files, DumpHandler& handler) {
    DumpResult result;
    Progress progress;
    for (std::string_view const file : files) {
        try {
            readDump(std::string(file), handler, progress, result);
        } catch (InputError const& error) {
            handler.log().reportUnreadable(error.what());
        }
    }
    handler.log().summarise();
    result.status = handler.log().status();
    return result;
}

} // namespace BgpCommunities
