// What arrives at a subscriber, for benchmarks/fleet.py: node fleet.js BROKER SECONDS
// Every message is counted, one in ten is decoded: how old it is when it arrives.
"use strict";

const mqtt = require("mqtt");
const sparkplug = require("sparkplug-payload").get("spBv1.0");

const ages = [];
let messages = 0;
let bytes = 0;
let values = 0;
let decoded = 0;
const client = mqtt.connect(process.argv[2]);
client.on("connect", () => client.subscribe("spBv1.0/+/DDATA/#", { qos: 0 }));
client.on("message", (_, payload) => {
  const now = Date.now();
  messages += 1;
  bytes += payload.length;
  if (messages % 10 !== 0) return;
  const { metrics } = sparkplug.decodePayload(payload);
  if (metrics.length === 0) return;
  decoded += 1;
  values += metrics.length;
  ages.push(now - Number(metrics[0].timestamp));
});
setTimeout(() => {
  ages.sort((a, b) => a - b);
  const at = (part) => ages[Math.min(ages.length - 1, Math.floor(ages.length * part))];
  const seconds = Number(process.argv[3]);
  const figures = {
    "messages/s": messages / seconds,
    "values/s": (messages / seconds) * (values / decoded),
    "kB/s": bytes / seconds / 1000,
    "ms, median": at(0.5),
    "ms, 90 %": at(0.9),
    "ms, 99 %": at(0.99),
    "ms, worst": at(1),
  };
  process.stdout.write(JSON.stringify(figures) + "\n");
  process.exit(0);
}, Number(process.argv[3]) * 1000);
