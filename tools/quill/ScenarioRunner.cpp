#include "tools/quill/ScenarioRunner.h"

#include "quill/audit/PipelineAudit.h"

#include <string>
#include <vector>

#include "tools/quill/LfibDot.h"
#include "tools/quill/TableView.h"
#include "tools/quill/TextForm.h"
#include "tools/quill/WhyView.h"

namespace QuillTool {

namespace {

template <class... Handlers>
struct Overloaded : Handlers... {
  using Handlers::operator()...;
};
template <class... Handlers>
Overloaded(Handlers...) -> Overloaded<Handlers...>;

// A rejected line and what is wrong with it are echoed up to this length.
constexpr std::size_t kMaxEchoBytes = 1024;

// The text, printable, and cut at kMaxEchoBytes with its length said.
std::string shortened(std::string_view text) {
  if (text.size() <= kMaxEchoBytes) return printable(text);
  return printable(text.substr(0, kMaxEchoBytes)) + "... (" + std::to_string(text.size()) +
         " bytes)";
}

std::string_view trimmed(std::string_view line) {
  const std::size_t end = line.find_last_not_of(" \t\r\n");
  return end == std::string_view::npos ? std::string_view() : line.substr(0, end + 1);
}

void applyAddress(const Mpls::PipelineCollections& colls, const AddressCommand& command) {
  const auto& coll =
      command.table == AddressCommand::Table::transport ? colls.transportAddrs : colls.intfAddrs;
  switch (command.change) {
    case Change::add:
      coll->routerIpAddrIs(command.routerId)->ipAddrIs(command.address);
      return;
    case Change::del:
      if (const auto entry = coll->routerIpAddr(command.routerId))
        entry->ipAddrDel(command.address);
      return;
    case Change::drop:
      if (const auto entry = coll->routerIpAddr(command.routerId)) {
        // One address at a time, as a peer going down withdraws them, so that every stage sees
        // each withdrawal before the entry itself goes.
        std::vector<Vela::IpGenAddr> addresses;
        for (const Vela::IpGenAddr& address : entry->ipAddrColl())
          addresses.push_back(address);
        for (const Vela::IpGenAddr& address : addresses)
          entry->ipAddrDel(address);
        coll->routerIpAddrDel(command.routerId);
      }
      return;
  }
}

void applyLocalBinding(const Mpls::PipelineCollections& colls, const LocalBindingCommand& command) {
  if (command.change == Change::add) {
    colls.localTable->bindingIs(command.fec)->mplsLabelIs(command.label);
    return;
  }
  const auto binding = colls.localTable->binding(command.fec);
  if (!binding) return;
  binding->mplsLabelDel(command.label);
  // A binding without labels binds nothing: LDP withdraws it with its last label.
  if (binding->mplsLabels() == 0) colls.localTable->bindingDel(command.fec);
}

void applyFilteredFec(const Mpls::PipelineCollections& colls, const FilteredFecCommand& command) {
  if (command.change == Change::add) {
    colls.peerTables->bindingTableIs(command.routerId)->filteredFecIs(command.fec, true);
    return;
  }
  if (const auto table = colls.peerTables->bindingTable(command.routerId))
    table->filteredFecDel(command.fec);
}

}  // namespace

ScenarioRunner::ScenarioRunner(Sim::Agent& agent, Options options, std::ostream& out,
                               std::ostream& err)
    : agent_(agent), options_(options), out_(out), err_(err) {}

void ScenarioRunner::apply(const Command& command) {
  const Mpls::PipelineCollections& colls = agent_.colls();
  std::visit(Overloaded{
                 [&](const AddressCommand& c) { applyAddress(colls, c); },
                 [&](const MplsIntfCommand& c) {
                   if (c.change == Change::add) {
                     colls.mplsIntfs->intfIdIs(c.intf);
                   } else {
                     colls.mplsIntfs->intfIdDel(c.intf);
                   }
                 },
                 [&](const RouteCommand& c) {
                   switch (c.kind) {
                     case RouteCommand::Kind::via:
                       agent_.resolution().routeIs(c.prefix, c.vias);
                       return;
                     case RouteCommand::Kind::connected:
                       agent_.resolution().connectedRouteIs(c.prefix, c.intf);
                       return;
                     case RouteCommand::Kind::del:
                       agent_.resolution().routeDel(c.prefix);
                       return;
                   }
                 },
                 [&](const LocalBindingCommand& c) { applyLocalBinding(colls, c); },
                 [&](const PeerBindingCommand& c) {
                   if (c.change == Change::add) {
                     agent_.peerBindingIs(c.routerId, c.fec, c.label);
                   } else {
                     agent_.peerBindingDel(c.routerId, c.fec, c.label);
                   }
                 },
                 [&](const PeerTableDropCommand& c) { agent_.peerTableDrop(c.routerId); },
                 [&](const FilteredFecCommand& c) { applyFilteredFec(colls, c); },
                 [&](const RestartCommand&) { agent_.restart(); },
                 [&](const AuditCommand&) {
                   const Quill::ResolutionTables tables{agent_.nexthopConfig().ptr(),
                                                        agent_.nexthopStatus().ptr(),
                                                        agent_.forwardingStatus().ptr()};
                   const Quill::AuditReport report =
                       Quill::auditPipeline(*agent_.manager(), &tables);
                   auditFailed_ = auditFailed_ || !report.ok();
                   out_ << report.text();
                 },
                 [&](const ShowCommand& c) {
                   if (c.dot) {
                     LfibDot dot;
                     dot.lfibIs(*colls.lfib);
                     dot.print(out_);
                     return;
                   }
                   showTable(agent_, c.table, c.json || options_.json, out_);
                 },
                 [&](const WhyCommand& c) {
                   WhyForm form = c.form == WhyCommand::Form::dot    ? WhyForm::dot
                                  : c.form == WhyCommand::Form::json ? WhyForm::json
                                                                     : WhyForm::text;
                   if (form == WhyForm::text && options_.json) form = WhyForm::json;
                   if (c.byLabel) {
                     printWhyLabel(agent_, c.label, form, out_);
                   } else {
                     printWhy(agent_, c.fec, c.peer, form, out_);
                   }
                 },
             },
             command);
  out_.flush();
}

bool ScenarioRunner::runLine(std::string_view source, std::size_t lineNumber,
                             std::string_view line) {
  std::optional<Command> command;
  try {
    command = parseCommand(line);
  } catch (const CommandError& error) {
    report(source, lineNumber, line, error.what(), error.expected());
    return false;
  }
  if (!command) return true;
  bool applied = true;
  try {
    apply(*command);
  } catch (const std::exception& error) {
    // The library or the service refused a change midway; say so rather than die. What was
    // applied before the throw stays applied.
    report(source, lineNumber, line, std::string("applying the line failed: ") + error.what(), "");
    applied = false;
  }
  reportServiceErrors(source, lineNumber);
  return applied;
}

bool ScenarioRunner::runLine(std::string_view source, std::size_t lineNumber,
                             const InputLine& line) {
  if (!line.tooLong()) return runLine(source, lineNumber, line.text);
  report(source, lineNumber, line.text,
         "line too long: " + std::to_string(line.length) + " bytes, at most " +
             std::to_string(kMaxLineBytes),
         "");
  return false;
}

bool ScenarioRunner::runStream(std::istream& in, std::string_view source, bool stopAtError) {
  bool allGood = true;
  InputLine line;
  std::size_t lineNumber = 0;
  while (readBoundedLine(in, line)) {
    if (!runLine(source, ++lineNumber, line)) {
      allGood = false;
      if (stopAtError) return false;
    }
  }
  return allGood;
}

void ScenarioRunner::report(std::string_view source, std::size_t lineNumber, std::string_view line,
                            std::string_view what, std::string_view expected) {
  out_.flush();  // so that output and errors interleave in the order they happened
  err_ << source << ':' << lineNumber << ": error: " << shortened(what) << '\n';
  err_ << "  " << shortened(trimmed(line)) << '\n';
  if (!expected.empty()) err_ << "  " << expected << '\n';
  err_.flush();
}

void ScenarioRunner::reportServiceErrors(std::string_view source, std::size_t lineNumber) {
  for (const std::string& error : agent_.resolution().takeErrors())
    err_ << source << ':' << lineNumber << ": warning: " << error << '\n';
}

}  // namespace QuillTool
