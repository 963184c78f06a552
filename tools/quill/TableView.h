#pragma once
// The tables `show` prints: the LFIB, the pipeline manager's fourteen collections (by the
// manager's attribute names, in its argument order), the resolution service's request and answer
// tables, and the last label published on each peer table's notification channel.
//
// Each prints in one of two forms:
// - human: a title line with a count, then an aligned table with one row per leaf fact (for the
//   LFIB one row per branch and justifying (FEC, peer)), rows sorted by value, then a blank line;
// - json: exactly one line, an object naming the table ("table") and holding its content as
//   arrays of objects nested as the collection's entities are, each value typed (labels as
//   numbers, peers and FECs as objects, see ValueJson.h), arrays in the human rows' order.
//   docs/show-json.schema.json gives every table's shape.
//
// Both forms walk the entities' attribute lists (VOX_ATTRIBUTES), so a table follows its entities'
// declarations; TableView.cpp holds only the tool's names for attributes and values.
//
//   QuillTool::showTable(agent, "lfib", false, std::cout);
//   // lfib: 1 local label, 1 branch
//   // LOCAL LABEL  NEXT HOP   INTERFACE  OUT LABEL  FEC                          PEER
//   // 100          10.0.12.2  Ethernet1  200        p2mp/1.1.1.1/0100040000002a  2.2.2.2:0
//   QuillTool::showTable(agent, "p2mpMplsIntfColl", true, std::cout);
//   // {"table":"p2mpMplsIntfColl","interfaces":["Ethernet1"]}
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "sim/Agent.h"

namespace QuillTool {

// Every name `show` accepts, in the order the help lists them.
const std::vector<std::string_view>& tableNames();
bool isTableName(std::string_view name);
// The names, comma-separated.
std::string tableNameList();

// Prints table `name`. Precondition: isTableName(name) (otherwise prints nothing).
void showTable(const Sim::Agent& agent, std::string_view name, bool json, std::ostream& out);

}  // namespace QuillTool
