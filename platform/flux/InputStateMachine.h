#pragma once
// The runtime of compiled dataflow pipelines: input state machines.
//
// An input state machine watches one entity of a pipeline's input (a collection, or one entry of
// a collection whose entries hold nested collections). It first scans what the entity holds and
// then follows its change notifications; everything it sees becomes an event of the pipeline.
// Its scan state goes `scanNotStarted` -> `scanComplete` in one `doInputScan` (or
// `scanInProgress` -> `scanComplete` when a scan is resumed from a bookmark, which only a
// runtime tool does).
//
// A state machine is an entity: counted, named, with its scan state as an attribute that
// notifies on change. `handleInitialized` runs the scan; the constructors of concrete state
// machines end by calling it, so a new state machine has delivered its initial events before its
// creator regains control. `hasNotificationActiveIs` and `voxDoZombieReactors` reach the state
// machine's observer and its children, like a reactor's parts.
#include <cstdint>
#include <ostream>

#include "platform/vox/Attribute.h"

namespace Flx {

enum class InputScanState : uint8_t {
  scanNotStarted = 0,
  scanInProgress = 1,
  scanComplete = 2,
};

inline std::ostream& operator<<(std::ostream& out, InputScanState state) {
  switch (state) {
    case InputScanState::scanNotStarted:
      return out << "scanNotStarted";
    case InputScanState::scanInProgress:
      return out << "scanInProgress";
    case InputScanState::scanComplete:
      return out << "scanComplete";
  }
  return out << static_cast<int>(state);
}

namespace Gen {

class InputStateMachine : public Vox::EntityBase<InputStateMachine> {
 public:
  VOX_VALUE_ATTRIBUTE(InputStateMachine, inputScanState, InputScanState,
                      InputScanState::scanNotStarted)

  // Scans the watched entity (see `doInputScan`).
  void handleInitialized() { doInputScan(); }
  // Scans from the beginning, or from the bookmark, to the end, then marks the scan complete.
  virtual void doInputScan() = 0;
  // Withdraws everything this state machine contributed (an empty event per element).
  virtual void doDeleteAll() = 0;

  // Starts or stops notifications to the state machine and its children together.
  virtual void hasNotificationActiveIs(bool active) { Entity::hasNotificationActiveIs(active); }
  bool zombie() const { return zombie_; }
  virtual void voxDoZombieReactors(bool zombie) { zombie_ = zombie; }

 protected:
  InputStateMachine() = default;

 private:
  bool zombie_ = false;
};

}  // namespace Gen
}  // namespace Flx
