// Creations shared by concurrent resolutions of one instance, and the search for a wait that
// would never end.

#include "core/detail/SharedCreation.hpp"

#include <asio/redirect_error.hpp>
#include <asio/use_awaitable.hpp>
#include <utility>

#include "core/detail/HomeThread.hpp"
#include "tavreldi/core/Errors.hpp"

namespace tavreldi::detail {

OwnedCreation::OwnedCreation(ContainerState& state, CreationKey key, ResolutionFrame& creator)
    : state_(state),
      key_(std::move(key)),
      creation_(std::make_shared<SharedCreation>(state.executor, creator)) {
  creator.creating = creation_.get();
  state_.creations.insert_or_assign(key_, creation_);
}

OwnedCreation::~OwnedCreation() {
  if (!creation_->finished) {
    finish({}, std::make_exception_ptr(DependencyResolutionError::factoryError(
                   "Creation abandoned for " + key_.slot->name)));
  }
}

bool OwnedCreation::listed() const noexcept {
  const auto it = state_.creations.find(key_);
  return it != state_.creations.end() && it->second == creation_;
}

void OwnedCreation::finish(const AnyInstance& instance, std::exception_ptr error) noexcept {
  SharedCreation& c = *creation_;
  c.finished = true;
  c.instance = instance;
  c.error = std::move(error);
  c.creator->creating = nullptr;
  c.creator = nullptr;
  c.waiters.clear();
  if (listed()) state_.creations.erase(key_);
  c.done.cancel();
}

asio::awaitable<AnyInstance> awaitCreation(ContainerState& state,
                                           std::shared_ptr<SharedCreation> creation,
                                           ResolutionFrame& waiter) {
  creation->waiters.push_back(&waiter);
  waiter.awaiting = creation.get();
  struct Leave {
    SharedCreation& creation;
    ResolutionFrame& waiter;
    ~Leave() {
      // Finishing empties the list at once; only a waiter dropped before that leaves it.
      if (!creation.finished) std::erase(creation.waiters, &waiter);
      waiter.awaiting = nullptr;
    }
  } leave{*creation, waiter};
  do {
    asio::error_code ignored;  // the cancellation that finishing is
    co_await creation->done.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    if (!state.onHomeThread()) co_await switchToHomeThread(state);
  } while (!creation->finished);
  if (creation->error) std::rethrow_exception(creation->error);
  co_return creation->instance;
}

// The resolutions that cannot finish before `waiter` does are `waiter` and its ancestors, then,
// repeatedly, every resolution awaiting a creation that one of them runs, with its ancestors.
// The wait never ends when the creation's creator is among them. The search marks each
// resolution once, so its work is bounded by the number of resolutions in progress.
std::vector<std::string> waitCycle(ContainerState& state, const ResolutionFrame& waiter,
                                   const SharedCreation& creation) {
  const ResolutionFrame* owner = creation.creator;
  if (owner == nullptr) return {};
  const std::uint64_t mark = ++state.searchGeneration;
  std::vector<const ResolutionFrame*> blocked;
  for (const ResolutionFrame* f = &waiter; f != nullptr; f = f->parent) {
    f->mark = mark;
    f->blockedVia = nullptr;
    blocked.push_back(f);
  }
  for (std::size_t i = 0; i < blocked.size() && owner->mark != mark; ++i) {
    const SharedCreation* held = blocked[i]->creating;
    if (held == nullptr) continue;
    for (const ResolutionFrame* w : held->waiters) {
      for (const ResolutionFrame* f = w; f != nullptr && f->mark != mark; f = f->parent) {
        f->mark = mark;
        f->blockedVia = w;
        blocked.push_back(f);
      }
    }
  }
  if (owner->mark != mark) return {};

  // From the creation's service down to the resolution through which it waits on this chain,
  // then on from the creator of what that one awaits, until `waiter` is reached.
  std::vector<std::string> loop;
  const ResolutionFrame* from = owner;
  while (const ResolutionFrame* w = from->blockedVia) {
    if (w->parent != nullptr && w != from) appendPathNames(loop, w->parent, from);
    from = w->awaiting->creator;
  }
  appendPathNames(loop, &waiter, from);
  return loop;
}

}  // namespace tavreldi::detail
