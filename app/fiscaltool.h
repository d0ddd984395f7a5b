// pastrel-config fiscal: the till's view of its fiscal printer (RT).
//   fiscal last                    the journal's last line (the last fiscal operation)
//   fiscal status [http://HOST[:PORT]]  asks the RT for its state and its last document; without
//                                  an address, the RT of the journal's last line
#pragma once

int fiscalTool(int argc, char** argv); // argv[0] is "fiscal"
