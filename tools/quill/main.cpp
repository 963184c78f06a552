// quill: plays the owning agent of the p2mp LFIB pipeline over simulated host services.
#include <string>
#include <vector>

#include "tools/quill/Cli.h"

int main(int argc, char** argv) {
  return QuillTool::runQuill(std::vector<std::string>(argv + 1, argv + argc));
}
