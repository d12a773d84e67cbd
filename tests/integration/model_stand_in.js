// A loopback stand-in for the model API: every POST /v1/messages gets a short text answer,
// streamed when asked. Prints its port on the first line of standard output.
const http = require('http');

function message(text) {
  return {
    id: 'msg_ravo_test', type: 'message', role: 'assistant', model: 'stand-in',
    content: [{ type: 'text', text }], stop_reason: 'end_turn', stop_sequence: null,
    usage: { input_tokens: 12, output_tokens: 3 },
  };
}

function stream(res, text) {
  res.writeHead(200, { 'content-type': 'text/event-stream', 'cache-control': 'no-cache' });
  const events = [
    ['message_start', { type: 'message_start', message: { ...message(''), content: [], stop_reason: null } }],
    ['content_block_start', { type: 'content_block_start', index: 0, content_block: { type: 'text', text: '' } }],
    ['content_block_delta', { type: 'content_block_delta', index: 0, delta: { type: 'text_delta', text } }],
    ['content_block_stop', { type: 'content_block_stop', index: 0 }],
    ['message_delta', { type: 'message_delta', delta: { stop_reason: 'end_turn', stop_sequence: null }, usage: { output_tokens: 3 } }],
    ['message_stop', { type: 'message_stop' }],
  ];
  for (const [name, data] of events) res.write(`event: ${name}\ndata: ${JSON.stringify(data)}\n\n`);
  res.end();
}

const server = http.createServer((req, res) => {
  let body = '';
  req.on('data', (chunk) => { body += chunk; });
  req.on('end', () => {
    if (req.method === 'POST' && req.url.startsWith('/v1/messages/count_tokens')) {
      res.writeHead(200, { 'content-type': 'application/json' });
      res.end(JSON.stringify({ input_tokens: 12 }));
      return;
    }
    if (req.method === 'POST' && req.url.startsWith('/v1/messages')) {
      let request = {};
      try { request = JSON.parse(body); } catch (e) { /* answer anyway */ }
      if (request.stream) stream(res, 'Done.');
      else {
        res.writeHead(200, { 'content-type': 'application/json' });
        res.end(JSON.stringify(message('Done.')));
      }
      return;
    }
    res.writeHead(404, { 'content-type': 'application/json' });
    res.end('{"type":"error","error":{"type":"not_found_error","message":"not here"}}');
  });
});
server.listen(0, '127.0.0.1', () => { console.log(server.address().port); });
