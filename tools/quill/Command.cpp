#include "tools/quill/Command.h"

#include <array>
#include <initializer_list>

#include "platform/vox/Exception.h"
#include "tools/quill/TableView.h"
#include "tools/quill/TextForm.h"

namespace QuillTool {

namespace {

// The words of one line, consumed left to right by a command's parser.
class Words {
 public:
  explicit Words(std::string_view line) {
    const std::string_view content = line.substr(0, line.find('#'));
    std::size_t at = 0;
    while (at < content.size()) {
      const std::size_t start = content.find_first_not_of(kBlanks, at);
      if (start == std::string_view::npos) break;
      const std::size_t stop = std::min(content.find_first_of(kBlanks, start), content.size());
      words_.push_back(content.substr(start, stop - start));
      at = stop;
    }
  }

  bool empty() const { return words_.empty(); }
  bool atEnd() const { return next_ == words_.size(); }

  // The next word; `what` names it in the error when the line ends early.
  std::string_view take(std::string_view what) {
    if (atEnd()) throw std::invalid_argument("missing " + std::string(what));
    const std::string_view word = words_[next_++];
    // Checked here, before any parser quotes the word in a message.
    if (printable(word) != word) {
      throw std::invalid_argument("'" + printable(word) + "' holds a control character");
    }
    return word;
  }

  // The next word, which must be one of `choices`.
  std::string_view keyword(std::string_view what, std::initializer_list<std::string_view> choices) {
    const std::string_view word = take(what);
    for (const std::string_view choice : choices) {
      if (word == choice) return word;
    }
    throw std::invalid_argument("expected " + alternatives(choices) + ", not '" +
                                std::string(word) + "'");
  }

  // Parses the next word as a T, naming it `what` in the error.
  template <class T>
  T value(std::string_view what) {
    const std::string_view word = take(what);
    try {
      return T::sequenceToValue(word);
    } catch (const std::exception& error) {  // Vox::ParseError, or whatever else a parser throws
      throw std::invalid_argument(std::string(what) + ": " + error.what());
    }
  }

  // A label that a packet can carry.
  Vela::MplsLabel label() {
    const std::string_view word = take("LABEL");
    try {
      const auto label = Vela::MplsLabel::sequenceToValue(word);
      if (label.value() <= Vela::MplsLabel::kMaxValid) return label;
    } catch (const Vox::ParseError&) {
      // Same message as out of range: what is wanted is the same.
    }
    throw std::invalid_argument("LABEL: '" + std::string(word) +
                                "' is not an MPLS label: expected 0..1048575 (20 bits)");
  }

  void end() {
    if (!atEnd()) {
      throw std::invalid_argument("unexpected '" + std::string(words_[next_]) +
                                  "' after the command's last word");
    }
  }

 private:
  static constexpr std::string_view kBlanks = " \t\r\n\v\f";

  static std::string alternatives(std::initializer_list<std::string_view> choices) {
    std::string text;
    std::size_t index = 0;
    for (const std::string_view choice : choices) {
      if (index > 0) text += index + 1 == choices.size() ? " or " : ", ";
      text += choice;
      ++index;
    }
    return text;
  }

  std::vector<std::string_view> words_;
  std::size_t next_ = 0;
};

Change changeOf(std::string_view word) {
  if (word == "add") return Change::add;
  if (word == "del") return Change::del;
  return Change::drop;
}

Command parseAddress(Words& words, AddressCommand::Table table) {
  AddressCommand command;
  command.table = table;
  command.routerId = words.value<Mpls::RouterId>("ROUTER");
  command.change = changeOf(words.keyword("add, del or drop", {"add", "del", "drop"}));
  if (command.change != Change::drop) command.address = words.value<Vela::IpGenAddr>("ADDR");
  words.end();
  return command;
}

Command parseTransport(Words& words) {
  return parseAddress(words, AddressCommand::Table::transport);
}

Command parseInterfaceAddr(Words& words) {
  return parseAddress(words, AddressCommand::Table::interface);
}

Command parseMplsIntf(Words& words) {
  MplsIntfCommand command;
  command.change = changeOf(words.keyword("add or del", {"add", "del"}));
  command.intf = words.value<Vela::IntfId>("INTF");
  words.end();
  return command;
}

Command parseRoute(Words& words) {
  RouteCommand command;
  command.prefix = words.value<Vela::IpPrefix>("PREFIX");
  const std::string_view kind = words.keyword("via, connected or del", {"via", "connected", "del"});
  if (kind == "del") {
    command.kind = RouteCommand::Kind::del;
  } else if (kind == "connected") {
    command.kind = RouteCommand::Kind::connected;
    command.intf = words.value<Vela::IntfId>("INTF");
  } else {
    command.kind = RouteCommand::Kind::via;
    for (;;) {
      // Either family, whatever the prefix's: the data model keeps the family with the hop.
      const auto hop = words.value<Vela::IpGenAddr>("HOP");
      const auto intf = words.value<Vela::IntfId>("INTF");
      command.vias.push_back({hop, intf});
      if (words.atEnd()) break;
      words.keyword("via", {"via"});
    }
  }
  words.end();
  return command;
}

Command parseLocalBinding(Words& words) {
  LocalBindingCommand command;
  command.fec = words.value<Mpls::FwdEqvClass>("FEC");
  command.change = changeOf(words.keyword("add or del", {"add", "del"}));
  command.label = words.label();
  words.end();
  return command;
}

Command parsePeerBinding(Words& words) {
  PeerBindingCommand command;
  command.routerId = words.value<Mpls::RouterId>("ROUTER");
  command.fec = words.value<Mpls::FwdEqvClass>("FEC");
  command.change = changeOf(words.keyword("add or del", {"add", "del"}));
  command.label = words.label();
  words.end();
  return command;
}

Command parsePeerTable(Words& words) {
  PeerTableDropCommand command;
  command.routerId = words.value<Mpls::RouterId>("ROUTER");
  words.keyword("drop", {"drop"});
  words.end();
  return command;
}

Command parseFilteredFec(Words& words) {
  FilteredFecCommand command;
  command.routerId = words.value<Mpls::RouterId>("ROUTER");
  command.fec = words.value<Mpls::FwdEqvClass>("FEC");
  command.change = changeOf(words.keyword("add or del", {"add", "del"}));
  words.end();
  return command;
}

Command parseRestart(Words& words) {
  words.end();
  return RestartCommand{};
}

Command parseAudit(Words& words) {
  words.end();
  return AuditCommand{};
}

Command parseShow(Words& words) {
  ShowCommand command;
  const std::string_view table = words.take("TABLE");
  if (!isTableName(table)) {
    throw CommandError("TABLE: unknown table '" + std::string(table) + "'",
                       "tables: " + tableNameList());
  }
  command.table = std::string(table);
  if (!words.atEnd()) {
    const std::string_view form = words.keyword("json or dot", {"json", "dot"});
    command.json = form == "json";
    command.dot = form == "dot";
    if (command.dot && table != "lfib" && table != "p2mpLabelForwardingInfoColl")
      throw std::invalid_argument("only the LFIB has a dot form");
  }
  words.end();
  return command;
}

Command parseWhy(Words& words) {
  WhyCommand command;
  // No FEC's text is "label": FECs read "p2mp/ROOT/OPAQUE".
  if (words.atEnd()) throw std::invalid_argument("missing FEC or 'label'");
  Words lookahead = words;
  if (lookahead.take("FEC") == "label") {
    words.take("label");
    command.byLabel = true;
    command.label = words.label();
  } else {
    command.fec = words.value<Mpls::FwdEqvClass>("FEC");
    command.peer = words.value<Mpls::RouterId>("PEER");
  }
  if (!words.atEnd()) {
    // "--dot" too, the spelling of a command-line flag, for the dot form.
    const std::string_view form = words.keyword("json or dot", {"json", "dot", "--dot"});
    command.form = form == "json" ? WhyCommand::Form::json : WhyCommand::Form::dot;
  }
  words.end();
  return command;
}

struct Syntax {
  std::string_view name;
  std::string_view usage;
  std::string_view description;
  Command (*parse)(Words&);
};

constexpr std::array kSyntax{
    Syntax{"transport", "transport ROUTER add|del ADDR | transport ROUTER drop",
           "a peer's transport addresses; drop removes them all, then the peer", &parseTransport},
    Syntax{"interface-addr", "interface-addr ROUTER add|del ADDR | interface-addr ROUTER drop",
           "a peer's interface addresses; drop removes them all, then the peer",
           &parseInterfaceAddr},
    Syntax{"mpls-intf", "mpls-intf add|del INTF", "an MPLS-enabled interface", &parseMplsIntf},
    Syntax{"route",
           "route PREFIX via HOP INTF [via HOP INTF]... | route PREFIX connected INTF | "
           "route PREFIX del",
           "adds, replaces or removes a route (HOP is IPv4 or IPv6)", &parseRoute},
    Syntax{"local-binding", "local-binding FEC add|del LABEL",
           "a local label of a FEC (LABEL 0..1048575)", &parseLocalBinding},
    Syntax{"peer-binding", "peer-binding ROUTER FEC add|del LABEL",
           "a peer's label for a FEC (LABEL 0..1048575)", &parsePeerBinding},
    Syntax{"peer-table", "peer-table ROUTER drop",
           "removes a peer's bindings one by one, then its table", &parsePeerTable},
    Syntax{"filtered-fec", "filtered-fec ROUTER FEC add|del", "a FEC the peer's table filters",
           &parseFilteredFec},
    Syntax{"restart", "restart", "stops and starts the agent over the state it left",
           &parseRestart},
    Syntax{"audit", "audit",
           "recomputes every stage from its rule; prints \"audit: ok\" or the differences",
           &parseAudit},
    Syntax{"show", "show TABLE [json] | show lfib dot",
           "prints a table (see the list of tables); dot: the LFIB as a Graphviz graph",
           &parseShow},
    Syntax{"why", "why FEC PEER [json|dot] | why label LABEL [json|dot]",
           "why the LFIB has a branch to PEER for FEC, or the first input it lacks; a label's "
           "branches",
           &parseWhy},
};

}  // namespace

std::optional<Command> parseCommand(std::string_view line) {
  Words words(line);
  if (words.empty()) return std::nullopt;
  std::string_view name;
  try {
    name = words.take("command");
  } catch (const std::invalid_argument& error) {
    throw CommandError(error.what(), "commands: " + commandNames());
  }
  for (const Syntax& syntax : kSyntax) {
    if (syntax.name != name) continue;
    try {
      return syntax.parse(words);
    } catch (const CommandError&) {
      throw;  // already says what was expected
    } catch (const std::invalid_argument& error) {
      throw CommandError(error.what(), "usage: " + std::string(syntax.usage));
    }
  }
  throw CommandError("unknown command '" + std::string(name) + "'", "commands: " + commandNames());
}

std::string commandSummary() {
  std::string text;
  for (const Syntax& syntax : kSyntax) {
    std::string_view usage = syntax.usage;
    // Alternative forms go one per line.
    for (;;) {
      const std::size_t bar = usage.find(" | ");
      text += "  ";
      text += usage.substr(0, bar);
      text += '\n';
      if (bar == std::string_view::npos) break;
      usage.remove_prefix(bar + 3);
    }
    text += "      ";
    text += syntax.description;
    text += '\n';
  }
  return text;
}

std::string commandNames() {
  std::string text;
  for (const Syntax& syntax : kSyntax) {
    if (!text.empty()) text += ", ";
    text += syntax.name;
  }
  return text;
}

}  // namespace QuillTool
