// The entry points that this engine does not offer: they take anything and refuse it.
#include "engine/PlaySdk.h"

#define REFUSE_Works(name)
#define REFUSE_Refused(name)                                                                       \
    extern "C" RV_API int name();                                                                  \
    int name()                                                                                     \
    {                                                                                              \
        return RV_REFUSED;                                                                         \
    }
#define ENTRY(name, behaviour) REFUSE_##behaviour(name)
#include "engine/EntryPoints.def"
