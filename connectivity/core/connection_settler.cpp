#include "connectivity/core/connection_settler.h"

namespace ravo::connectivity {

namespace {

// Degraded figures change between probes; the kind of state is what the user is told.
bool sameKind(const ConnectionState& a, const ConnectionState& b) {
    if (a.index() != b.index())
        return false;
    const auto* offlineA = std::get_if<Offline>(&a);
    const auto* offlineB = std::get_if<Offline>(&b);
    return !offlineA || offlineA->hasLink == offlineB->hasLink;
}

} // namespace

void ConnectionSettler::record(const ConnectionState& state, TimePoint now) {
    if (current_ && sameKind(*current_, state))
        return;
    const bool first = !current_;
    current_ = state;
    since_ = now;
    if (first) {
        if (std::holds_alternative<Online>(state))
            told_ = state;
        return;
    }
    changes_.push_back(now);
    while (!changes_.empty() && now - changes_.front() > timing_.window)
        changes_.pop_front();
    if (!unstable_ && int(changes_.size()) >= timing_.changesForUnstable)
        unstable_ = unstableDue_ = true;
}

std::optional<ConnectionSettler::Announcement> ConnectionSettler::take(TimePoint now) {
    if (!current_)
        return std::nullopt;
    if (unstableDue_) {
        unstableDue_ = false;
        told_.reset(); // whatever it settles on is news
        return Announcement{{kUnstableTitle, kUnstableBody}, *current_, true};
    }
    if (now - since_ < (unstable_ ? timing_.calm : timing_.hold))
        return std::nullopt;
    if (unstable_) {
        unstable_ = false;
        changes_.clear();
    }
    if (told_ && sameKind(*told_, *current_))
        return std::nullopt;
    const auto previous = told_;
    told_ = current_;
    const auto notice = ConnectionNotice::of(*current_, previous);
    if (!notice)
        return std::nullopt;
    return Announcement{*notice, *current_, false};
}

std::optional<ConnectionSettler::TimePoint> ConnectionSettler::nextCheck() const {
    if (!current_)
        return std::nullopt;
    if (unstableDue_)
        return since_;
    if (unstable_)
        return since_ + timing_.calm;
    if (told_ && sameKind(*told_, *current_))
        return std::nullopt;
    return since_ + timing_.hold;
}

} // namespace ravo::connectivity
