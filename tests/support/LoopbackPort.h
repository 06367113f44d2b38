// A port on loopback that nothing listens on at this moment: the kernel
// picks it for a socket bound to port 0, and the socket is closed again so
// that the server a test or benchmark starts can take it. 0 when none.
// Header only: the benchmarks use it without the tests' support library.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

inline int TolvoFreeLoopbackPort()
{
  int aSocket = socket(AF_INET, SOCK_STREAM, 0);
  if (aSocket < 0)
    return 0;
  struct sockaddr_in anAddress = {};
  anAddress.sin_family = AF_INET;
  anAddress.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t aLength = sizeof(anAddress);
  int aPort = 0;
  if (bind(aSocket, (struct sockaddr *)&anAddress, sizeof(anAddress)) == 0
      && getsockname(aSocket, (struct sockaddr *)&anAddress, &aLength) == 0)
    aPort = ntohs(anAddress.sin_port);
  close(aSocket);
  return aPort;
}
