/* krdummy: the test driver whose signatures loadprobe puts to the test. It says that it was loaded,
 * says that it was unloaded, and does nothing else; DbgPrint is its only import, so that no other
 * reason than the signature can keep a system from loading it. */
#include <ntddk.h>

static void krdummy_unload(PDRIVER_OBJECT driver) {
    UNREFERENCED_PARAMETER(driver);
    DbgPrint("krdummy unloaded.\n");
}

/* The unload routine is set first: a driver without one cannot be stopped. Until the next restart
 * it would stay loaded, and its service listed. */
NTSTATUS DriverEntry(PDRIVER_OBJECT driver, PUNICODE_STRING registry_path) {
    UNREFERENCED_PARAMETER(registry_path);
    driver->DriverUnload = krdummy_unload;
    DbgPrint("krdummy loaded.\n");
    return STATUS_SUCCESS;
}
