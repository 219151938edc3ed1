// SPDX-License-Identifier: Apache-2.0
// A push gateway for tests: HTTP/2 over TLS. What a notification's device asks for, as text, is what
// the gateway does with it:
//
//   ok ...               accepts it
//   status N TEXT        answers with the status N and the text
//   large N              answers 500 with N bytes
//   cut N                answers with the status N and ends in the middle of the body
//   slow MS              accepts it after so many milliseconds
//   hang                 never answers
//   unfinished N ...     answers with the status N, and a body that never ends
//   retry N TIMES WHEN   answers with the status N and asks to be tried again WHEN (Retry-After), so
//                        many times, and accepts it then
//   reset                resets the stream with an error
//   refuse-once ...      refuses the stream unread, and accepts it when it comes again
//   refuse ...           refuses the stream unread, always
//   goaway ...           accepts it, and on this connection takes nothing that comes after it
//   close ...            accepts it, and closes the connection when all streams have ended
//   destroy ...          hangs up without a word
//
// usage: node gateway.js DIRECTORY OPTIONS
// DIRECTORY holds ca.pem, server.pem and server.key; OPTIONS is a JSON object: "maxStreams" (a
// connection), "delay" (of every answer, in ms), "requireClient" (a certificate), "http1" (nothing
// newer is spoken), "forgets" (what it was sent), "lengthless" (no answer says how
// long it is; libcurl 7.88 then resets every stream at its end, and Node closes a connection after
// some 1,000 of those). Prints its port, and for every line on standard input what it has been sent so
// far, an array in JSON. Ends with its standard input.
'use strict';

const fs = require('fs');
const http2 = require('http2');
const https = require('https');
const readline = require('readline');

const [directory, optionsText] = process.argv.slice(2);
const options = JSON.parse(optionsText);
const { constants } = http2;
const requests = [];
const refused = new Set();
const turnedAway = new Map();
let sessions = 0;

// What the words above stand for, given a stream and what follows the word.
const actions = {
  status: (stream, status, ...text) => answer(stream, Number(status), text.join(' ')),
  large: (stream, size) => answer(stream, 500, 'x'.repeat(Number(size))),
  cut: (stream, status) => {
    stream.respond({ ':status': Number(status), 'content-length': 100 });
    stream.write('cut off', () => stream.close(constants.NGHTTP2_CANCEL));
  },
  slow: (stream, milliseconds) => setTimeout(() => answer(stream, 200), Number(milliseconds)),
  hang: () => {},
  unfinished: (stream, status) => {
    stream.respond({ ':status': Number(status) });
    stream.write('more is to come');
  },
  retry: (stream, status, times, ...when) => {
    const key = [status, times, ...when].join(' ');
    const count = turnedAway.get(key) || 0;
    turnedAway.set(key, count + 1);
    if (count >= Number(times)) {
      answer(stream, 200);
    } else {
      stream.respond({ ':status': Number(status), 'retry-after': when.join(' ') });
      stream.end(`try ${count + 1}`);
    }
  },
  reset: (stream) => stream.close(constants.NGHTTP2_INTERNAL_ERROR),
  refuse: (stream) => stream.close(constants.NGHTTP2_REFUSED_STREAM),
  'refuse-once': (stream, number) => {
    if (refused.has(number)) {
      answer(stream, 200);
    } else {
      refused.add(number);
      stream.close(constants.NGHTTP2_REFUSED_STREAM);
    }
  },
  goaway: (stream) => {
    stream.session.lastTaken = stream.id;
    stream.session.goaway(constants.NGHTTP2_NO_ERROR, stream.id);
    answer(stream, 200);
  },
  close: (stream) => {
    const { session } = stream;
    // Once the answer is on its way: Node 18 would drop it.
    stream.on('close', () => setImmediate(() => session.close()));
    answer(stream, 200);
  },
  destroy: (stream) => stream.session.destroy(),
};

function respond(stream, status, body = '') {
  if (!stream.destroyed) {
    const length = options.lengthless ? {} : { 'content-length': Buffer.byteLength(body) };
    stream.respond({ ':status': status, ...length }, { endStream: !body });
    if (body) stream.end(body);
  }
}

function answer(stream, status, body) {
  if (options.delay) {
    setTimeout(respond, options.delay, stream, status, body);
  } else {
    respond(stream, status, body);
  }
}

// Numbers the connection, and remembers who is at its other end.
function introduce(session, socket) {
  session.number = ++sessions;
  session.client = (socket.getPeerCertificate().subject || {}).CN;
}

function deviceIn(path) {
  return Buffer.from(path.slice(path.lastIndexOf('/') + 1), 'hex').toString();
}

// Remembers a notification, and gives its device.
function take(session, version, method, path, headers, body) {
  const device = deviceIn(path);
  if (!options.forgets) {
    requests.push({
      session: session.number, client: session.client, version, method, path, device, body,
      headers,
    });
  }
  return device;
}

function serveStream(stream, headers) {
  stream.on('error', () => {});
  const { session } = stream;
  if (!session || session.destroyed || session.lastTaken < stream.id) return;
  if (!session.number) introduce(session, session.socket);
  let body = '';
  stream.on('data', (piece) => { body += piece; });
  stream.on('end', () => {
    if (stream.destroyed) return;
    const device = take(session, '2.0', headers[':method'], headers[':path'], headers, body);
    const [word, ...rest] = device.split(' ');
    (actions[word] || ((ours) => answer(ours, 200)))(stream, ...rest);
  });
}

// The old protocol knows "status" only.
function serveOld(request, response) {
  if (!request.socket.number) introduce(request.socket, request.socket);
  let body = '';
  request.on('data', (piece) => { body += piece; });
  request.on('end', () => {
    const device = take(request.socket, request.httpVersion, request.method, request.url,
      request.headers, body);
    const [word, status, ...text] = device.split(' ');
    response.writeHead(word === 'status' ? Number(status) : 200);
    response.end(text.join(' '));
  });
}

const tls = {
  key: fs.readFileSync(`${directory}/server.key`),
  cert: fs.readFileSync(`${directory}/server.pem`),
  ca: fs.readFileSync(`${directory}/ca.pem`),
  requestCert: true,
  rejectUnauthorized: Boolean(options.requireClient),
};
const settings = options.maxStreams ? { maxConcurrentStreams: options.maxStreams } : {};
const server = options.http1
  ? https.createServer(tls, serveOld)
  : http2.createSecureServer({ ...tls, settings }).on('stream', serveStream);
server.on('tlsClientError', () => {});
server.on('sessionError', () => {});
server.listen(0, '127.0.0.1', () => console.log(server.address().port));

readline.createInterface({ input: process.stdin })
  .on('line', () => console.log(JSON.stringify(requests)))
  .on('close', () => process.exit(0));
