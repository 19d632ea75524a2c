// What an update leaves beside a program of the build before it.
extern "C" {
__attribute__((visibility("default"))) extern const char vantorelBuildStamp[] = "another build";
__attribute__((visibility("default"))) void vantorelTestEntry() {}
}
