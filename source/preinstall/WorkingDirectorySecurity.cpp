#include "preinstall/WorkingDirectorySecurity.h"

namespace orvik::pkgui::preinstall {

std::wstring WorkingDirectoryDacl(const std::wstring& userSid) {
    // FA: all access; FRFX: generic read and execute. OICI: inherited by
    // files and folders below. P: the parent's entries are not inherited.
    return L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;FRFX;;;" + userSid + L")(A;OICI;FRFX;;;OW)";
}

}  // namespace orvik::pkgui::preinstall
