// A push gateway for tests: HTTP/2 over TLS. What a notification's device asks for, as text, is what
// the gateway does with it:
//
//   ok ...               accepts it
//   status N TEXT        answers with the status N and the text
//   large N              answers 500 with N bytes
//   cut N                answers with the status N and ends in the middle of the body
//   slow MS              accepts it after so many milliseconds
//   hang                 never answers
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
// newer is spoken). Prints its port, and for every line on standard input what it has been sent so
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
let sessions = 0;

function answer(response, status, body) {
  setTimeout(() => {
    if (!response.destroyed) {
      response.writeHead(status);
      response.end(body);
    }
  }, options.delay || 0);
}

function act(device, request, response) {
  const stream = response.stream;
  const [word, argument, ...rest] = device.split(' ');
  const actions = {
    status: () => answer(response, Number(argument), rest.join(' ')),
    large: () => answer(response, 500, 'x'.repeat(Number(argument))),
    cut: () => {
      response.writeHead(Number(argument), { 'content-length': 100 });
      response.write('cut off', () => stream.close(constants.NGHTTP2_CANCEL));
    },
    slow: () => setTimeout(() => answer(response, 200), Number(argument)),
    hang: () => {},
    reset: () => stream.close(constants.NGHTTP2_INTERNAL_ERROR),
    refuse: () => stream.close(constants.NGHTTP2_REFUSED_STREAM),
    'refuse-once': () => {
      if (refused.has(device)) {
        answer(response, 200);
      } else {
        refused.add(device);
        stream.close(constants.NGHTTP2_REFUSED_STREAM);
      }
    },
    goaway: () => {
      stream.session.lastTaken = stream.id;
      stream.session.goaway(constants.NGHTTP2_NO_ERROR, stream.id);
      answer(response, 200);
    },
    close: () => {
      answer(response, 200);
      stream.session.close();
    },
    destroy: () => stream.session.destroy(),
  };
  (actions[word] || (() => answer(response, 200)))();
}

function serve(request, response) {
  const session = response.stream ? response.stream.session : request.socket;
  const isTaken = !(response.stream && session.lastTaken < response.stream.id);
  let body = '';
  request.on('error', () => {});
  response.on('error', () => {});
  request.on('data', (piece) => { body += piece; });
  request.on('end', () => {
    if (!isTaken) return;
    session.number = session.number || ++sessions;
    const path = request.url;
    const device = Buffer.from(path.slice(path.lastIndexOf('/') + 1), 'hex').toString();
    requests.push({
      session: session.number, method: request.method, path, device, body,
      version: request.httpVersion, headers: request.headers,
      client: (request.socket.getPeerCertificate().subject || {}).CN,
    });
    act(device, request, response);
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
  ? https.createServer(tls, serve)
  : http2.createSecureServer({ ...tls, settings }, serve);
server.on('tlsClientError', () => {});
server.on('sessionError', () => {});
server.listen(0, '127.0.0.1', () => console.log(server.address().port));

readline.createInterface({ input: process.stdin })
  .on('line', () => console.log(JSON.stringify(requests)))
  .on('close', () => process.exit(0));
