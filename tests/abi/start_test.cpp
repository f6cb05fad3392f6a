#include "tests/abi/foreign_program.h"

using QvResult = int;

class CFrameworkInitializer
{
public:
    static QvResult Initialize();
    static void Finalize();
};

TEST(Start, WorksForAProgramThatDeclaresTheClassItself)
{
    EXPECT_EQ(0, CFrameworkInitializer::Initialize());
    CFrameworkInitializer::Finalize();
}
