#include "ListMemory.h"

namespace BgpCommunities {

void ListMemory::make(Octets value, ListText& made) {
    made.text.clear();
    made.met = 0;
    made.fault = decoder_->decode(value);
    if (!made.fault.empty()) {
        return;
    }
    if (json_) {
        JsonWriter json(made.text);
        decoder_->writeJson(json, value, made.fault, Detail::whole);
    } else {
        decoder_->appendList(made.text);
    }
    made.met = filter_.conditionsMetBy(*decoder_);
}

} // namespace BgpCommunities
