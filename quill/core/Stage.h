#pragma once
// The head every stage reactor shares, stated once: the collections it is built over.
//
// A stage names them, in its constructor's order (read-only inputs as `const`, what it writes
// last), as the arguments of `Stage`, and everything that follows from that list comes from here:
//
//   class RouterNexthopInfoSm
//       : public Quill::Stage<RouterNexthopInfoSm, const IpAddrRouterIdInfoColl,
//                             const IpNexthopInfoColl, RouterNexthopInfoColl> {
//    public:
//     static constexpr Quill::StaticName kQualifiedName = "Mpls::RouterNexthopInfoSm";
//     using Stage::Stage;                                         // the constructor
//     static constexpr auto RouterNexthopInfoSmIs = &stageIs;     // the static creator
//     ...
//    private:
//     const Vox::Ptr<const IpNexthopInfoColl>& ipNexthopInfoColl() const {
//       return collection<1>();
//     }
//     QUILL_PER_KEY_REACTORS(ipNexthop, VoxIpNexthop, VoxIpNexthopInfoColl,
//                            IpNexthopInfoColl::ipNexthopAttribute)
//   };
//   inline constexpr auto routerNexthopInfoSmFactory = RouterNexthopInfoSm::RouterNexthopInfoSmIs;
//
// Construction stores the collections, then the stage's members are built in declaration order:
// its observers hook onto their input as they are built (the per-key reactors of the members
// already present come with them) and its per-key collections start out filled. `stageIs` then
// calls `handleInitialized()`, so a stage created late catches up with its inputs at once, and
// turns its notifications on. The constructor takes a key only `stageIs` can make: a stage cannot
// be built past that last step.
#include <cstddef>
#include <tuple>
#include <type_traits>

#include "platform/vox/Ptr.h"
#include "platform/vox/Reactor.h"
#include "quill/core/StageReactor.h"

namespace Quill {

template <class Derived, class... Colls>
class Stage : public StageReactor<Derived> {
  // Made only by `stageIs`.
  class Construction {
    friend class Stage;
    Construction() = default;
  };

 public:
  Stage(Construction, const Vox::Ptr<Colls>&... colls) : collections_(colls...) {}

  // Allocates a stage over `colls`, brings it up to date with them and turns it on. Every stage's
  // static creator (`XSmIs`) is this function, and its factory points at that.
  static Vox::Ptr<Derived> stageIs(const Vox::Ptr<Colls>&... colls) {
    Vox::Ptr<Derived> stage(new Derived(Construction(), colls...));
    stage->handleInitialized();
    stage->hasNotificationActiveIs(true);
    return stage;
  }

  // The very objects the stage was built over, in the constructor's order; the manager keeps a
  // stage whose arguments are the ones it is given again.
  auto constructorArguments() const {
    return std::apply([](const auto&... colls) { return std::tuple(colls.ptr()...); },
                      collections_);
  }

 protected:
  // The collection at `Index` in the constructor's order.
  template <std::size_t Index>
  const auto& collection() const {
    return std::get<Index>(collections_);
  }
  // The one collection of type `Coll` (const or not), for observers that find their input by
  // what they observe.
  template <class Coll>
  const auto& collectionOf() const {
    using Bare = std::remove_const_t<Coll>;
    static_assert((std::is_same_v<Bare, std::remove_const_t<Colls>> + ...) == 1,
                  "a stage follows a collection type it is built over exactly once");
    return std::get<indexOf<Bare>()>(collections_);
  }

 private:
  template <class Bare>
  static constexpr std::size_t indexOf() {
    constexpr bool kMatches[] = {std::is_same_v<Bare, std::remove_const_t<Colls>>...};
    std::size_t index = 0;
    while (!kMatches[index])
      ++index;
    return index;
  }

  std::tuple<Vox::Ptr<Colls>...> collections_;
};

}  // namespace Quill

// A stage's per-key reactors of one input: the collection `name` of `VoxType` (one per member of
// `CollAttr` in the input collection), its lookup `name(key)`, its mutators `nameIs(member)`,
// `nameDel(key)` and `nameDelAll()`, and the collection observer `ObserverType` that keeps it in
// step with the input. The observer hooks on as the stage is built, which creates the per-key
// reactors of the members already there. Its place is among the stage's private members; the
// access it leaves is private.
#define QUILL_PER_KEY_REACTORS(name, VoxType, ObserverType, CollAttr)              \
 public:                                                                           \
  using ObserverType = ::Vox::CollectionObserver<CollAttr, VoxType>;               \
  VoxType* name(const typename VoxType::Key& key) const {                          \
    return name##_.find(key);                                                      \
  }                                                                                \
  VoxType* name##Is(const ::Vox::Ptr<const typename VoxType::Member>& member) {    \
    return name##_.is(member);                                                     \
  }                                                                                \
  void name##Del(const typename VoxType::Key& key) {                               \
    name##_.del(key);                                                              \
  }                                                                                \
  void name##DelAll() {                                                            \
    name##_.delAll();                                                              \
  }                                                                                \
                                                                                   \
 private:                                                                          \
  ::Vox::PerKeyReactorColl<VoxType> name##_{*this, kQualifiedName.c_str(), #name}; \
  ObserverType name##Observer_{*this, name##_, collectionOf<typename CollAttr::OwnerType>()};
