// pastrel-config: the maintainers' tool over the configuration file (configtool.h).
#include "configtool.h"

int main(int argc, char** argv) {
    return configTool(argc, argv);
}
