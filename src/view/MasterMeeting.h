#pragma once
// The first words between the seats of an account: a subordinate seat asks its master where the servers are to be
// reached (the answer sets up the link and the proxy), a master opens the ports for its seats, others have nobody to
// meet. Once, at the start, on the main thread; the wait for the master is bounded by WaitMs.
struct MasterMeeting {
    static constexpr int WaitMs = 3000;
    static MasterMeeting hold(); // what went wrong is told in a box

    bool good = true;   // false: the program ends
    bool seat = false;  // the login goes to the address that the master gave
    int updatePort = 0; // that the master gives for REST
};
