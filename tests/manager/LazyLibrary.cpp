// A library that can be opened with lazy binding alone: nobody defines what it calls.
extern "C" void NobodyDefinesThis();

extern "C" __attribute__((visibility("default"))) void LazyLibraryEntry()
{
    NobodyDefinesThis();
}
