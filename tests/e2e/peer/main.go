// SPDX-License-Identifier: Apache-2.0
// Calls the alerts daemon through a Varlink library that others wrote, and prints what comes back.
//
// usage: peer SOCKET
// Standard input: a JSON object a line, with "method", "parameters" and perhaps "more". Standard
// output: for each, a line with the array of its replies; a reply that is an error is an object
// with "error" and "parameters".
package main

import (
	"bufio"
	"context"
	"encoding/json"
	"log"
	"os"

	"github.com/varlink/go/varlink"
)

type call struct {
	Method     string          `json:"method"`
	Parameters json.RawMessage `json:"parameters"`
	More       bool            `json:"more"`
}

func exchange(ctx context.Context, connection *varlink.Connection, todo call) []interface{} {
	var flags uint64
	if todo.More {
		flags = varlink.More
	}
	receive, err := connection.Send(ctx, todo.Method, todo.Parameters, flags)
	if err != nil {
		log.Fatal(err)
	}
	replies := []interface{}{}
	for {
		var reply json.RawMessage
		flags, err := receive(ctx, &reply)
		if err != nil {
			return append(replies, map[string]interface{}{
				"error": err.Error(), "parameters": err})
		}
		replies = append(replies, reply)
		if flags&varlink.Continues == 0 {
			return replies
		}
	}
}

func main() {
	ctx := context.Background()
	connection, err := varlink.NewConnection(ctx, "unix:"+os.Args[1])
	if err != nil {
		log.Fatal(err)
	}
	defer connection.Close()
	output := json.NewEncoder(os.Stdout)
	input := bufio.NewScanner(os.Stdin)
	input.Buffer(nil, 1<<24)
	for input.Scan() {
		var todo call
		if err := json.Unmarshal(input.Bytes(), &todo); err != nil {
			log.Fatal(err)
		}
		output.Encode(exchange(ctx, connection, todo))
	}
}
