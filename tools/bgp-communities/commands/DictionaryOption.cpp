#include "DictionaryOption.h"

#include <string>

#include "text/StandardError.h"

namespace BgpCommunities {

Dictionary dictionary(Arguments const& arguments) {
    Dictionary read;
    for (std::string_view const path : arguments.values(dictionaryOption.name)) {
        read.read(std::string(path), [](std::string const& reason) { complain(reason); });
    }
    return read;
}

} // namespace BgpCommunities
