#include "platform/linux/file_server.hpp"

int main() { vantorel::serveFiles(); }
