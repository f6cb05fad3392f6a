// Brings the framework up and down.
#include "framework/kernel/framework_initializer.h"

int main()
{
    if (CFrameworkInitializer::Initialize() < 0) return 1;
    CFrameworkInitializer::Finalize();
}
