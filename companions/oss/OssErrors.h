#pragma once
// What this program tells as the "code" of uploadFinish. 200 is success. Codes below 120000 are those that the client
// knows as errors of files and sockets, taken where the meaning is the same, so that it waits and tries again by itself
// where that helps; 1200.. are this program's own.
namespace OssError
{
enum Code {
    Done = 200,
    FileMissing = 10000,
    FileUnreadable = 10001,
    TimedOut = 10010, // passes by itself: the client tries again
    FileChanged = 10019,
    Refused = 100000,
    ConnectionLost = 100001, // passes by itself
    HostUnknown = 100002,
    TlsFailed = 100013,
    Stopped = 120000,          // paused; never told
    BadMessage = 120001,       // a key is missing or isn't what it should be
    UnknownStore = 120002,     // a type other than s3, an endpoint that is no address
    AccessDenied = 120003,     // 403
    BucketMissing = 120004,    // 404 of the bucket
    ClockDiffers = 120005,     // RequestTimeTooSkewed: this machine's clock
    KeysExpired = 120006,      // ExpiredToken and its like: fresh keys come with the next try
    StoreBusy = 120007,        // 503 and 500 after all tries
    UploadForgotten = 120008,  // NoSuchUpload twice
    UnexpectedAnswer = 120009, // not what the protocol has
    CheckPointFailed = 120010, // the state file can't be written
    ObjectDiffers = 120011,    // the store holds another size than was sent
    SourceSilent = 120012      // the folder of the source file doesn't answer
};
}
