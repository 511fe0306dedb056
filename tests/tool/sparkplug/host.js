// A host application's view of a broker, with a decoder that is not ours: prints every message of Sparkplug as a line of
// JSON, and publishes what it is told on standard input, likewise a line each:
//   {"topic": "spBv1.0/G/DCMD/N/D", "metrics": [{"name": "...", "type": "Int32", "value": 3}], "timestamp": 0}
//   {"topic": "...", "text": "as it is"} or "hex"; "retain": true
// node host.js BROKER [OPTIONS AS JSON]; files of options "ca", "cert" and "key" are read.
"use strict";

const fs = require("fs");
const mqtt = require("mqtt");
const sparkplug = require("sparkplug-payload").get("spBv1.0");

const options = JSON.parse(process.argv[3] || "{}");
for (const file of ["ca", "cert", "key"]) if (options[file]) options[file] = fs.readFileSync(options[file]);
const client = mqtt.connect(process.argv[2], { reconnectPeriod: 100, ...options });

const plain = (_, value) =>
  value && typeof value.toNumber === "function" ? value.toNumber() : typeof value === "bigint" ? Number(value) : value;
const print = (message) => process.stdout.write(JSON.stringify(message, plain) + "\n");

client.on("connect", () => client.subscribe("spBv1.0/#", { qos: 1 }, () => print({ kind: "connected" })));
client.on("close", () => print({ kind: "closed" }));
client.on("error", (error) => print({ kind: "error", text: error.message }));
client.on("message", (topic, bytes, packet) => {
  const [, group, kind, node, device] = topic.split("/");
  if (group === "STATE") return;
  const message = { kind, node, device: device || "", retained: packet.retain, arrived: Date.now() };
  try {
    message.payload = sparkplug.decodePayload(bytes);
  } catch (error) {
    message.problem = error.message;
  }
  print(message);
});

function obey(line) {
  const order = JSON.parse(line);
  let bytes = order.text !== undefined ? order.text : Buffer.from(order.hex || "", "hex");
  if (order.metrics) {
    const { metrics, timestamp } = order;
    bytes = sparkplug.encodePayload({ metrics, ...(timestamp === undefined ? {} : { timestamp }) });
  }
  client.publish(order.topic, bytes, { qos: 1, retain: Boolean(order.retain) });
}

let rest = "";
process.stdin.on("data", (more) => {
  const lines = (rest + more).split("\n");
  rest = lines.pop();
  lines.filter(Boolean).forEach(obey);
});
process.stdin.on("end", () => process.exit(0));
