// The install run: quitting running copies, copying, and the result on the window.

#include "InstallerWinController.h"

void InstallerWinController::install() { }
void InstallerWinController::playDoneSound() { }
