// Qt is not built with the thread sanitizer: what its own code does with memory and condition variables
// looks unsynchronised. Only calls made directly by Qt are left out; all of ours is checked.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions()
{
    return "called_from_lib:libQt6Core.so.6\n"
           "called_from_lib:libQt6Test.so.6\n";
}
