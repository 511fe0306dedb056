#pragma once

// One function for each topic; each prints its rows, and runs in a process of its own.

void benchmarkQuery();
void benchmarkPolling();
void benchmarkFiles();
void benchmarkLines();
void benchmarkSets();
void benchmarkReceive();
void benchmarkCrc();
void benchmarkCallbacks();
void benchmarkConnections();
void benchmarkControllers();
