// An S3 server (s3rver) with one bucket and a key pair of the caller's, whose secret comes in the environment.
// Words: folder of the package, folder of the data, port.
const [, , folder, data, port] = process.argv;
const S3rver = require(folder);
const { DUMMY_ACCOUNT } = require(folder + '/lib/models/account');
DUMMY_ACCOUNT.createKeyPair('VANDREL', process.env.STORE_SECRET);
new S3rver({ directory: data, address: '127.0.0.1', port: Number(port), silent: true, configureBuckets: [{ name: 'farm' }] }).run();
