# Writes OUTPUT, a source file that holds the digest of LIBRARY.
file(SHA256 ${LIBRARY} digest)
file(WRITE ${OUTPUT} "extern \"C\" {
__attribute__((visibility(\"default\"))) extern const char vantorelBuildStamp[] = \"${digest}\";
}
")
