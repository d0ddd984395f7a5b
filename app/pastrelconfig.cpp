// pastrel-config: the maintainers' tool over the configuration file (configtool.h).
#include "configtool.h"
#include "diagnostics.h"

int main(int argc, char** argv) {
    Diagnostics::setProgramName(QStringLiteral("pastrel-config"));
    return configTool(argc, argv);
}
