// The commands that the project layer carries out itself: Project.*, Edit.* and Script.*.
#include "app/shell/commandtable.h"
#include "project/file/project.h"

void RegisterProjectCommands()
{
    constexpr int FIRST_PROJECT = ACT_PROJECT_SET_DEVICE, LAST_PROJECT = ACT_PROJECT_SET_MEM_ZONE_RUNNING;
    const auto Forward = [](int Id) { CProject::Get().HandleCommand(Id); };
    for (int Id = FIRST_PROJECT; Id <= LAST_PROJECT; Id++) SetCommandHandler(Id, Forward);
    for (const int Id : {ACT_EDIT_PREFERENCE, ACT_EDIT_SYS_VAR, ACT_EDIT_COLOR, ACT_EDIT_FONT, ACT_SCRIPT_EXEC,
                         ACT_SCRIPT_DEFINE_CONST})
        SetCommandHandler(Id, Forward);
}
