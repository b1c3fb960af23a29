#include "VideoPlayer_FishEye/fec/CLS_VxAlgoFcu.h"

#include <QLibrary>

#include "VideoPlayer_FishEye/FishEyeLog.h"

namespace {

/// The address of the name; a missing one is logged under its text and spoils iRet.
QFunctionPointer Resolve(QLibrary& library, const char* name, const char* text, int& iRet)
{
    const QFunctionPointer found = library.resolve(name);
    if (nullptr == found)
        iRet = s_warning.Refuse(text);
    return found;
}

}  // namespace

bool CLS_VxAlgoFcu::m_blLoaded = false;

#define ENTRY(name, signature, text) CLS_VxAlgoFcu::name##_Function* CLS_VxAlgoFcu::name = nullptr;
#include "VideoPlayer_FishEye/fec/AlgorithmEntries.def"

int CLS_VxAlgoFcu::LoadLib()
{
    if (m_blLoaded)
        return 0;
    const QString qstrName = QStringLiteral("vx_algo_fcu.dylib");
    QLibrary library(qstrName);
    m_blLoaded = library.load();
    if (!m_blLoaded)
        return s_warning.Refuse("[ CLS_VxAlgoFcu::LoadLib ", qstrName, " load fail ]");
    int iRet = 0;
#define ENTRY(name, signature, text)                                                               \
    name = reinterpret_cast<name##_Function*>(Resolve(library, #name, text, iRet));
#include "VideoPlayer_FishEye/fec/AlgorithmEntries.def"
    return iRet;
}

int CLS_VxAlgoFcu::ReleaseLib()
{
    return -1;
}
