#!/usr/bin/env python3
"""A client that a stranger makes from nothing but the interface definition.

usage: stranger.py OLTMGRD MODULE DEFINITION [unittest arguments]
"""

import shutil
import subprocess
import sys
import unittest

import harness

CLIENT = r"""
#include "onuqos.h"
#include <arpa/inet.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

int main(int argc, char** argv) {
    struct sockaddr_in address = {.sin_family = AF_INET, .sin_port = htons(atoi(argv[argc - 1]))};
    struct timeval retry = {1, 0};
    rpcTContProfileInfo wanted;
    rpcOnuFlowProfileRule rule;
    int descriptor = -1;
    CLIENT* client;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    client = strcmp(argv[1], "udp") ? clnttcp_create(&address, RPC_ONUQOS_PROG, RPC_ONUQOS_VERS, &descriptor, 0, 0)
                                    : clntudp_create(&address, RPC_ONUQOS_PROG, RPC_ONUQOS_VERS, retry, &descriptor);
    memset(&wanted, 0, sizeof wanted);
    wanted.tContType = 3;
    wanted.assuredRate = 1024;
    wanted.maximumRate = 4096;
    printf("%d ", *rpc_tcontprofile_create_and_set_1("gold", wanted, 4 | 16 | 32, client));
    printf("%u ", rpc_tcontprofile_get_1("gold", client)->info.maximumRate);
    printf("%d ", *rpc_tcontprofile_create_1("gold", client));
    memset(&rule, 0, sizeof rule);
    rule.ruleType = rpcOnuFlowProfileRuleTypeCVlan;
    rule.operation = rpcOnuFlowProfileOperationSet;
    rule.cVlan[1] = (char)0x81;
    printf("%d ", *rpc_onuflowprofile_create_1("hsi", client));
    printf("%d ", *rpc_onuflowprofile_rule_set_1("hsi", rule, client));
    printf("%d\n", rpc_onuflowprofile_get_1("hsi", client)->info.rule.cVlan[1] & 0xFF);
    return 0;
}
"""


class Stranger(harness.DaemonTest):
    definition = None

    def test_interoperates(self):
        shutil.copy(self.definition, self.path("onuqos.x"))
        with open(self.path("client.c"), "w", encoding="utf-8") as out:
            out.write(CLIENT)
        build = ("rpcgen -N -C -h -o onuqos.h onuqos.x && rpcgen -N -C -c -o xdr.c onuqos.x && "
                 "rpcgen -N -C -l -o stubs.c onuqos.x && "
                 "cc -w -o client client.c xdr.c stubs.c $(pkg-config --cflags --libs libtirpc)")
        subprocess.run(build, shell=True, check=True, cwd=self.directory)
        for transport in ("udp", "tcp"):
            self.daemon.start()
            port = self.daemon.udp_port if transport == "udp" else self.daemon.tcp_port
            said = subprocess.run([self.path("client"), transport, str(port)], check=True, capture_output=True)
            self.assertEqual(said.stdout.decode(), "0 4096 11 0 0 129\n")
            self.daemon.stop()


if __name__ == "__main__":
    harness.DaemonTest.program, harness.DaemonTest.module, Stranger.definition = sys.argv[1:4]
    harness.enter_own_network()
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
