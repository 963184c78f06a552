#pragma once
// The shape every reactor of the pipeline shares: its name, tracing and lifecycle steps.
//
// Stages derive from it through `Quill::Stage` (Stage.h), which adds the collections they are
// built over, their constructor and creator. A reactor that builds itself otherwise (the pipeline
// manager, a label binding notifier) derives from `StageReactor<Self>` directly:
//
//   class LabelBindingTableNotifierSm : public Quill::StageReactor<LabelBindingTableNotifierSm> {
//    public:
//     static constexpr Quill::StaticName kQualifiedName = "Mpls::LabelBindingTableNotifierSm";
//     static Vox::Ptr<LabelBindingTableNotifierSm> LabelBindingTableNotifierSmIs(...) {
//       return create(...);
//     }
//     void handleInitialized() {
//       const auto scope = enterHandleInitialized();   // trace, timer, initialized = true
//       ...scan the inputs, replay the output...
//     }
//     void handleDelete() { leaveInitialized(); }
//   };
//
// It then gets:
// - its trace handle "Quill" + its type name ("QuillLabelBindingTableNotifierSm"), created on
//   first use and kept for the process (`traceHandle()`), and `QUILL_TRACE_FUNC(args...)`, the
//   level-8 function-entry record "Mpls::IpAddrRouterIdInfoSm::handleRouterIpAddr() 2.2.2.2:0
//   10.0.0.1";
// - `create(args...)`: allocate, construct, turn notifications on; such a reactor's constructor
//   ends by calling `handleInitialized()`, so it catches up with its inputs at once;
// - the lifecycle handlers' common steps: a level-8 record naming the handler, carrying the
//   reactor's source file and line, a binary-tracer block timer for the handler's whole run, and
//   for `handleDelete` the record "handleDelete()" in the binary trace. `handleDelete` only
//   clears `initialized`: it unsubscribes nothing and clears no output.
#include <string>
#include <utility>

#include "platform/rapidlog/Rapidlog.h"
#include "platform/rapidlog/Twinlog.h"
#include "platform/vox/Reactor.h"
#include "platform/vox/Trace.h"
#include "quill/core/StaticName.h"

namespace Quill {

// Where a call was made, taken as a default argument. (Like std::source_location, which not
// every compiler the project supports provides yet.)
struct CallSite {
  const char* file;
  int line;
  static constexpr CallSite here(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    return {file, line};
  }
};

template <class Derived>
class StageReactor : public Vox::Reactor {
 public:
  // "Quill" + the type name, unless the reactor names a handle it shares (`kTraceHandleName`).
  static Vox::TraceHandle& traceHandle() {
    static Vox::TraceHandle handle(std::string(traceHandleName().view()), false);
    return handle;
  }

  template <class... Args>
  static Vox::Ptr<Derived> create(Args&&... args) {
    return Vox::create<Derived>(std::forward<Args>(args)...);
  }

 protected:
  // Lives for the whole lifecycle handler: its binary-tracer block timer.
  class LifecycleScope {
   public:
    explicit LifecycleScope(const Rapidlog::Site& site) : timer_(site) {}

   private:
    Rapidlog::BlockTimer timer_;
  };

  // The first step of `handleInitialized`: the level-8 record, the block timer (running until
  // the returned scope ends) and `initialized` set.
  [[nodiscard]] LifecycleScope enterHandleInitialized(CallSite where = CallSite::here()) {
    traceLifecycle("handleInitialized", where);
    initializedIs(true);
    return LifecycleScope(handleInitializedSite());
  }
  // The same without setting `initialized`, for reactors that set it once their inputs are
  // scanned.
  [[nodiscard]] LifecycleScope traceHandleInitialized(CallSite where = CallSite::here()) {
    traceLifecycle("handleInitialized", where);
    return LifecycleScope(handleInitializedSite());
  }

  // The whole of `handleDelete`: the level-8 record and the binary-trace record under a block
  // timer, then `initialized` cleared.
  void leaveInitialized(CallSite where = CallSite::here()) {
    static constexpr auto kName = Derived::kQualifiedName + StaticName("::handleDelete");
    static constinit Rapidlog::Site site{kName.c_str()};
    const LifecycleScope scope(site);
    traceLifecycle("handleDelete", where);
    Twinlog::RapidlogConverter(traceHandle().name(), 8) << "handleDelete"
                                                        << "()";
    initializedIs(false);
  }

 private:
  static const Rapidlog::Site& handleInitializedSite() {
    static constexpr auto kName = Derived::kQualifiedName + StaticName("::handleInitialized");
    static constinit Rapidlog::Site site{kName.c_str()};
    return site;
  }
  static constexpr auto traceHandleName() {
    if constexpr (requires { Derived::kTraceHandleName; }) {
      return Derived::kTraceHandleName;
    } else {
      return StaticName("Quill") + unqualified<Derived::kQualifiedName>();
    }
  }
  static void traceLifecycle(const char* handler, const CallSite& where) {
    if (traceHandle().enabled(8)) [[unlikely]] {
      traceHandle().write(8, where.file, where.line,
                          std::string(Derived::kQualifiedName.view()) + "::" + handler + "()");
    }
  }
};

}  // namespace Quill

// The level-8 function-entry record of a reactor member function: qualified name, "()", and the
// arguments' text forms, each preceded by a blank.
#define QUILL_TRACE_FUNC(...)                         \
  VOX_TRACE_FUNC(traceHandle(), kQualifiedName.view() \
                                    << "::" << __func__ __VA_OPT__(, ) __VA_ARGS__)
