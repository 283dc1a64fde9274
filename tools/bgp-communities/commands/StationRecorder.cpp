#include "StationRecorder.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "text/StandardError.h"

namespace BgpCommunities {

namespace {

// States of RFC 4271.
constexpr U16 idle = 1, openConfirm = 5;

std::string nowText() {
    std::string text;
    appendTime(text, currentTime());
    std::erase_if(text, [](char each) { return each == '-' || each == ':'; });
    return text;
}

/// Returns the message with its header.
std::string wholeOf(BgpMessage const& message) {
    std::string whole;
    appendBgpHeader(whole, message.type, message.body.size());
    whole.append(reinterpret_cast<char const*>(message.body.data()), message.body.size());
    return whole;
}

} // namespace

StationRecorder::StationRecorder(RecordOptions options)
  : options_(std::move(options))
  , suffix_(nowText()) {
    setAside();
    begin();
    if (!file_.isOpen()) {
        throw std::system_error(errno, std::generic_category(), options_.path);
    }
}

/// Renames the file, if there is one.
void StationRecorder::setAside() const {
    std::string const to = options_.path + "." + suffix_;
    if (::rename(options_.path.c_str(), to.c_str()) != 0 && errno != ENOENT && !isReported_) {
        complain(options_.path + ": cannot rename: " + std::strerror(errno));
    }
}

/// Tries to create the file.
void StationRecorder::begin() {
    begun_ = Clock::now();
    octets_ = 0;
    file_ = FileDescriptor(
        ::open(options_.path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    if (file_.isOpen()) {
        suffix_ = nowText();
        isReported_ = false;
    }
}

/// Replaces the file by a new one. If that fails, tries again only after a second. Returns whether
/// there is a file.
bool StationRecorder::beginNext() {
    if (!file_.isOpen() && Clock::now() - begun_ < std::chrono::seconds(1)) {
        return false;
    }
    file_.close();
    setAside();
    begin();
    if (!file_.isOpen()) {
        lose(errno);
    }
    return file_.isOpen();
}

void StationRecorder::lose(int error) {
    lost_ = true;
    if (!std::exchange(isReported_, true)) {
        complain(options_.path + ": " + std::strerror(error) + ": records are lost");
    }
}

/// Returns the size of the first whole records that fit in `most` octets; at least that of the
/// first record.
std::size_t StationRecorder::fitting(std::string_view records, U64 most) {
    std::size_t fitting = 0;
    while (fitting < records.size()) {
        OctetReader header(octetsOf(records.substr(fitting)));
        header.octets(8); // time, type and subtype
        std::size_t const next = fitting + mrtHeaderOctets + header.u32();
        if (fitting != 0 && next > most) {
            break;
        }
        fitting = next;
    }
    return fitting;
}

void StationRecorder::add(std::string_view records) {
    std::lock_guard const lock(mutex_);
    while (!records.empty()) {
        U64 const room = options_.octets - std::min(options_.octets, octets_);
        std::size_t const octets = fitting(records, room);
        bool const isFull = octets_ != 0 && (octets > room || Clock::now() - begun_ > options_.age);
        if (isFull || !file_.isOpen()) {
            if (!beginNext()) {
                return;
            }
            continue;
        }
        write(records.substr(0, octets));
        records.remove_prefix(octets);
    }
}

void StationRecorder::write(std::string_view records) {
    std::size_t written = 0;
    while (written < records.size()) {
        ssize_t const octets =
            ::write(file_.get(), records.data() + written, records.size() - written);
        if (octets < 0 && errno != EINTR) {
            int const error = errno;
            std::size_t const whole = fitting(records, written);
            octets_ += whole <= written ? whole : 0;
            // Cut off what was written of a record.
            [[maybe_unused]] int const cut = ::ftruncate(file_.get(), static_cast<off_t>(octets_));
            ::lseek(file_.get(), 0, SEEK_END);
            lose(error);
            return;
        }
        written += static_cast<std::size_t>(std::max<ssize_t>(octets, 0));
    }
    octets_ += records.size();
}

void SessionRecord::peerUp(BmpPeer const& peer, BmpPeerUp const& up, Microseconds time) {
    RecordedSession& session = peers_[peer.id];
    session = {peer.peer(), up.local, AsWidth::four, false, false};
    appendMessageRecord(records_, time, session, octetsOf(wholeOf(up.receivedOpen)));
    RecordedSession sent = session;
    sent.sentToPeer = true;
    appendMessageRecord(records_, time, sent, octetsOf(wholeOf(up.sentOpen)));
    appendStateRecord(records_, time, session, openConfirm, StateChange::established);
}

void SessionRecord::update(BmpPeer const& peer, BmpUpdate const& update, Microseconds time) {
    auto const known = peers_.find(peer.id);
    RecordedSession session;
    session.local = known == peers_.end() ? IpAddress() : known->second.local;
    session.peer = peer.peer();
    session.asWidth = peer.asWidth;
    session.sentToPeer = peer.view == RibView::adjRibOutPre || peer.view == RibView::adjRibOutPost;
    session.pathIds = update.pathIds.ipv4 || update.pathIds.mpReach || update.pathIds.mpUnreach;
    appendMessageRecord(records_, time, session, update.message);
}

void SessionRecord::down(RecordedSession const& session, Microseconds time) {
    appendStateRecord(records_, time, session, StateChange::established, idle);
}

void SessionRecord::peerDown(BmpPeer const& peer, Microseconds time) {
    if (auto const known = peers_.find(peer.id); known != peers_.end()) {
        down(known->second, time);
        peers_.erase(known);
    }
}

void SessionRecord::end(Microseconds time) {
    for (auto const& [id, session] : peers_) {
        down(session, time);
    }
    peers_.clear();
}

} // namespace BgpCommunities
