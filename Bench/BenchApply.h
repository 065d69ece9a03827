#pragma once

// What the processes of BenchApply do: vlanctl's verbs without the parser of its command line.
void ApplyBenchFile();
void CreateBenchVlans();
void ExportToBenchFile();
