// QBK_CVL_Server.exe is a window program: Windows gives it no console of its own, so a
// double-click or a start at logon opens none. Started from a command prompt (headless, or
// for --help), its lines still belong in that prompt's window.
#pragma once

namespace cvl {

// Joins the console the program was started from, so that its Ctrl+C and closing reach the
// program; standard output and error go there unless they already go somewhere (a pipe, a
// file). Where there is no such console, nothing is made.
void useParentConsole();

} // namespace cvl
