#include "RecordBatch.h"

namespace BgpCommunities {

void RecordBatch::begin(std::size_t dump, U64 sequence) {
    dump_ = dump;
    sequence_ = sequence;
    name_.clear();
    octets_.clear();
    records_.clear();
    last_ = false;
    end_.reset();
    unreadable_.clear();
}

void RecordBatch::append(MrtRecord const& record) {
    records_.push_back(record);
    octets_.insert(octets_.end(), record.body.begin(), record.body.end());
}

void RecordBatch::setEnd(DumpEnd const& end) {
    last_ = true;
    end_ = end;
}

void RecordBatch::setUnreadable(std::string const& reason) {
    last_ = true;
    unreadable_ = reason;
}

void RecordBatch::read(RecordParser& parser, RecordContext& context) {
    OctetReader in(octets_);
    for (MrtRecord& record : records_) {
        record.body = in.octets(record.body.size());
        parser.read(context, record);
    }
    if (end_) {
        context.accountEnd(*end_);
    }
}

} // namespace BgpCommunities
