#pragma once
// The scenario language: one command per line, parsed into a typed `Command` before anything is
// applied, so that a malformed line changes nothing.
//
//   transport ROUTER add|del ADDR          a peer's transport addresses
//   transport ROUTER drop                  ... all of them, then the peer's entry
//   interface-addr ROUTER add|del ADDR     a peer's interface addresses
//   interface-addr ROUTER drop
//   mpls-intf add|del INTF                 the MPLS-enabled interfaces
//   route PREFIX via HOP INTF [via HOP INTF]...   a route of the simulated routing table
//   route PREFIX connected INTF
//   route PREFIX del
//   local-binding FEC add|del LABEL        the local label binding table
//   peer-binding ROUTER FEC add|del LABEL  a peer's label binding table
//   peer-table ROUTER drop
//   filtered-fec ROUTER FEC add|del        a peer table's filtered FECs
//   restart                                the agent restarts over the state it left
//   show TABLE [json]                      (show lfib dot: the LFIB as a Graphviz graph)
//   why FEC PEER [json|dot]                why the LFIB has a branch to PEER for FEC, or not
//   why label LABEL [json|dot]             each branch of a local label, with its reasons
//
// Blanks (spaces, tabs) separate words and "#" starts a comment. Values are written in their
// types' text forms (`2.2.2.2:0`, `p2mp/1.1.1.1/0100040000002a`, `10.0.0.0/24`, `Ethernet1`).
// Labels must fit the 20-bit label field.
//
//   auto command = QuillTool::parseCommand("mpls-intf add Ethernet1");   // MplsIntfCommand
//   QuillTool::parseCommand("  # a comment");                            // nullopt
//   QuillTool::parseCommand("mpls-intf up Ethernet1");                   // throws CommandError
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/mpls/FwdEqvClass.h"
#include "platform/mpls/RouterId.h"
#include "platform/vela/IntfId.h"
#include "platform/vela/IpAddr.h"
#include "platform/vela/IpPrefix.h"
#include "platform/vela/MplsLabel.h"
#include "sim/ResolutionService.h"

namespace QuillTool {

enum class Change { add, del, drop };

struct AddressCommand {
  enum class Table { transport, interface };
  Table table = Table::transport;
  Mpls::RouterId routerId;
  Change change = Change::add;
  Vela::IpGenAddr address;  // unused by drop
};

struct MplsIntfCommand {
  Change change = Change::add;
  Vela::IntfId intf;
};

struct RouteCommand {
  enum class Kind { via, connected, del };
  Vela::IpPrefix prefix;
  Kind kind = Kind::via;
  std::vector<Sim::RouteVia> vias;  // via
  Vela::IntfId intf;                // connected
};

struct LocalBindingCommand {
  Mpls::FwdEqvClass fec;
  Change change = Change::add;
  Vela::MplsLabel label;
};

struct PeerBindingCommand {
  Mpls::RouterId routerId;
  Mpls::FwdEqvClass fec;
  Change change = Change::add;
  Vela::MplsLabel label;
};

struct PeerTableDropCommand {
  Mpls::RouterId routerId;
};

struct FilteredFecCommand {
  Mpls::RouterId routerId;
  Mpls::FwdEqvClass fec;
  Change change = Change::add;
};

struct RestartCommand {};

struct AuditCommand {};

struct ShowCommand {
  std::string table;
  bool json = false;
  bool dot = false;  // the LFIB tables only
};

struct WhyCommand {
  enum class Form { text, json, dot };
  bool byLabel = false;
  Mpls::FwdEqvClass fec;  // with peer, unless byLabel
  Mpls::RouterId peer;
  Vela::MplsLabel label;  // byLabel
  Form form = Form::text;
};

using Command = std::variant<AddressCommand, MplsIntfCommand, RouteCommand, LocalBindingCommand,
                             PeerBindingCommand, PeerTableDropCommand, FilteredFecCommand,
                             RestartCommand, AuditCommand, ShowCommand, WhyCommand>;

// Why a line is not a command: `what` says what is wrong, `expected()` the form the command
// takes (its usage line, or the list of commands when the command itself is unknown).
class CommandError : public std::runtime_error {
 public:
  CommandError(const std::string& what, std::string expected)
      : std::runtime_error(what), expected_(std::move(expected)) {}
  const std::string& expected() const { return expected_; }

 private:
  std::string expected_;
};

// The command on `line`, or nullopt when the line holds only blanks and a comment. Throws
// `CommandError`; never anything else for any input.
std::optional<Command> parseCommand(std::string_view line);

// One line per command form, "NAME ARGUMENTS" then a blank-aligned description, for help texts.
std::string commandSummary();

// The names of the commands, comma-separated, for error messages.
std::string commandNames();

}  // namespace QuillTool
